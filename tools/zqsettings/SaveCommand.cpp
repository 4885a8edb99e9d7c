// The commands that save: each looks whether the save is possible and sensible, saves as the module does, and
// prints what that changed. The module itself never runs on the folder: it would replace what it refuses.
#include "Commands.h"

#include "Console.h"
#include "Failure.h"
#include "FolderLook.h"
#include "JsonOutput.h"
#include "ModuleSession.h"
#include "PrivateFiles.h"
#include "SaveReason.h"
#include "SavedValue.h"
#include "SettingCheck.h"
#include "Text.h"
#include "VariableDifference.h"

#include "base/HostLog.h"
#include "config/ConfigFile.h"
#include "platform/Mutex.h"
#include "save/SaveOperations.h"

#include <functional>
#include <memory>

namespace zq::tool {

namespace {

namespace fs = std::filesystem;

struct SaveOptions {
    ModuleOptions module;
    RepairOptions repair;
    bool isForced = false;
    bool isJson = false;
};

struct SetOptions : SaveOptions {
    std::string name;
    std::string value;
    std::string type;
    bool isPerDevice = false;
};

struct SetHmdOptions : SaveOptions {
    std::string device;
    HmdRequest request{};
    std::vector<int64_t> values;
};

// The folder, once the module would load all of its three files.
fs::path PreparedFolder(const SaveOptions& options) {
    fs::path folder = RequireDataFolder(options.module.data);
    const PrivateFiles files = LookAtPrivateFiles(folder);
    RequireRepairable(files, options.repair);
    const fs::path defaults = DefaultsFolderOf(options.module.defaults);
    for (const PrivateFile& file : files) {
        PrintRepair(file, Repair(file, defaults));
    }
    return folder;
}

std::string SavedText(const std::vector<VariableChange>& changes) {
    std::string text;
    for (const VariableChange& change : changes) {
        text += ChangeText(change) + '\n';
    }
    return changes.empty() ? "Saved; the variables had this value already.\n" : text;
}

std::string SavedJson(const fs::path& file, const std::vector<VariableChange>& changes) {
    return JsonDocument([&](JsonWriter& writer) {
        writer.StartObject();
        WriteMember(writer, "file", Utf8FromPath(file));
        writer.Key("changes");
        writer.StartArray();
        for (const VariableChange& change : changes) {
            WriteChange(writer, change, "old", "new");
        }
        writer.EndArray();
        writer.EndObject();
    });
}

// Runs `save(target)` on the file and reports what it changed.
void SaveAndReport(const SaveOptions& options, const PrivateFile& file, const std::vector<Variable>& before,
                   const std::string& what, const std::function<SaveResult(const SaveTarget&)>& save) {
    const HostLog silent;
    const Mutex mutex;
    const SaveResult result = save({file.path.native(), mutex, silent});
    if (result != SaveResult::Saved) {
        throw Failure("nothing was saved: " + ReasonText(result, file, what), ExitCodeOf(result));
    }
    const std::vector<VariableChange> changes =
        Difference(before, LookAt(options.module, file.path.parent_path()));
    Print(options.isJson ? SavedJson(file.path, changes) : SavedText(changes));
}

void Set(const SetOptions& options) {
    const fs::path folder = PreparedFolder(options);
    const PrivateFile file = LookAtPrivateFile(folder, ConfigFile::Settings);
    const std::vector<Variable> before = LookAt(options.module, folder);
    const std::optional<int64_t> index = HeadsetIndex(before);
    const SettingRequest request{options.name,        options.value,    options.type,
                                 options.isPerDevice, options.isForced, index};
    const SavedValue value = RequireSensible(SettingsDocument(file.bytes), request);

    const std::wstring name = WideFromUtf8(options.name);
    SaveAndReport(options, file, before, options.name, [&](const SaveTarget& target) {
        return SaveSetting(target, {name, options.isPerDevice, index}, SetterOf(value));
    });
}

void SetHmd(const SetHmdOptions& options) {
    const fs::path folder = PreparedFolder(options);
    const PrivateFile file = LookAtPrivateFile(folder, ConfigFile::HmdList);
    const std::vector<Variable> before = LookAt(options.module, folder);
    const std::wstring device = WideFromUtf8(options.device);
    SaveAndReport(options, file, before, options.device, [&](const SaveTarget& target) {
        return SaveHmdListValues(target, device, options.request, options.values);
    });
}

void AddSaveOptions(Command& command, SaveOptions& options) {
    AddModuleOptions(command, options.module, "");
    AddProvisionFlag(command, options.repair);
    command.AddFlag("--json", options.isJson, "Print what changed as JSON");
}

} // namespace

void AddSetCommand(CLI::App& app) {
    const auto options = std::make_shared<SetOptions>();
    Command command(app, "set", "Save one value into the settings file and print what that changed");
    AddSaveOptions(command, *options);
    command
        .Add("NAME", options->name, "",
             "A member at the file's root, or with --device\nCL.<headset>.<member>")
        .Required()
        .NotEmpty();
    command.Add("VALUE", options->value, "", "The new value").Required();
    command
        .Add("--type", options->type, "TYPE",
             "bool, integer, double or string. Default: the type that the\nmember has")
        .OneOf({"bool", "integer", "double", "string"});
    command.AddFlag("--device", options->isPerDevice,
                    "The member of the headset in use, which \"DHI\" gives");
    command.AddFlag("--force", options->isForced,
                    "Save a value that is out of range, not ASCII, or in place of an\nobject or list");
    command.Run([options] { Set(*options); });
}

void AddSetHmdCommand(CLI::App& app) {
    const auto options = std::make_shared<SetHmdOptions>();
    Command command(app, "set-hmd",
                    "Save the values of one response into the headset list and print what\n"
                    "that changed");
    AddSaveOptions(command, *options);
    command.Add("DEVICE", options->device, "", "The headset's \"DeviceName\"").Required();
    command.Add("MAIN", options->request.mainRequest, "", "\"MainRequest\"; -1 for any").Required();
    command.Add("SUB", options->request.subRequest, "", "\"SubRequest\"; -1 for any").Required();
    command.Add("INDEX", options->request.index, "", "\"index\"; -1 for any").Required();
    command.Add("VALUE", options->values, "", "The new values, from the first on").Required();
    command.Run([options] { SetHmd(*options); });
}

} // namespace zq::tool
