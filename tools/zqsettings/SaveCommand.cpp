// The commands that save: each looks whether the save is possible, runs the module's own save slot, waits
// until the module has read the file again, and prints what that changed.
#include "Commands.h"

#include "Failure.h"
#include "ModuleSession.h"
#include "SavedValue.h"
#include "SilentHost.h"
#include "Text.h"
#include "VariableDifference.h"

#include "config/ConfigFile.h"
#include "save/JsonDocument.h"
#include "save/NarrowName.h"
#include "save/SaveOperations.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <functional>
#include <memory>

#include <windows.h>

namespace zq::tool {

namespace {

constexpr DWORD kReloadCapMilliseconds = 5000;

class ReloadWaiter final : public CZQVariableHost {
public:
    ReloadWaiter() : m_reloaded(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}
    ~ReloadWaiter() { CloseHandle(m_reloaded); }
    ReloadWaiter(const ReloadWaiter&) = delete;
    ReloadWaiter& operator=(const ReloadWaiter&) = delete;

    void OnVariableChanged(const wchar_t*, uint32_t, CZQVariableHost*) override {}
    void OnVariablesReloaded() override { SetEvent(m_reloaded); }
    bool Wait() const { return WaitForSingleObject(m_reloaded, kReloadCapMilliseconds) == WAIT_OBJECT_0; }

private:
    HANDLE m_reloaded;
};

struct SetOptions {
    ModuleOptions module;
    std::string name;
    std::string value;
    std::string type;
    bool isPerDevice = false;
};

struct SetHmdOptions {
    ModuleOptions module;
    std::string device;
    HmdRequest request{};
    std::vector<int64_t> values;
};

std::string ReasonText(SaveResult result, const std::string& what) {
    switch (result) {
    case SaveResult::FileUnreadable:
        return "the file cannot be parsed as JSON, or its root is of the wrong kind";
    case SaveResult::NoSuchMember:
        return "the file has no member " + what + ", or has it twice; a member that is absent is never made";
    case SaveResult::NoSuchDevice:
        return "the file has no such device: " + what;
    case SaveResult::NoSuchRequest:
        return "the device has no response with these numbers";
    case SaveResult::TooFewValues:
        return "the response's \"Value\" holds fewer values than were given";
    default:
        return "the file cannot be written back";
    }
}

// What an edit would come to, tried on a document of its own.
SaveResult Try(const std::filesystem::path& file, const std::function<SaveResult(EditableDocument&)>& edit) {
    std::unique_ptr<EditableDocument> document;
    LoadJsonDoc(file.wstring(), document);
    return document ? edit(*document) : SaveResult::FileUnreadable;
}

void RequireSaved(SaveResult result, const std::string& what) {
    if (result != SaveResult::Saved) {
        throw Failure("nothing was saved: " + ReasonText(result, what));
    }
}

void SaveAndReport(const ModuleSession& session, const std::function<void(CZQModSettings&)>& save) {
    ReloadWaiter waiter;
    const std::vector<Variable> before = ListVariables(session.Variables());
    session.Variables().RegisterHost(&waiter);
    session.Settings().DoStart();
    save(session.Settings());
    const bool isReloaded = waiter.Wait();
    session.Variables().UnregisterHost(&waiter);
    if (!isReloaded) {
        throw Failure(
            "the value was handed over, but the module did not read the file again within 5 seconds; "
            "a file that is locked or read-only cannot be saved");
    }
    const std::vector<VariableChange> changes = Difference(before, ListVariables(session.Variables()));
    for (const VariableChange& change : changes) {
        std::printf("%s\n", ChangeText(change).c_str());
    }
    if (changes.empty()) {
        std::printf("Saved; the variables held this value already.\n");
    }
}

void Set(const SetOptions& options) {
    const SavedValue value = ParseSavedValue(options.value, options.type);
    SilentHost host;
    const ModuleSession session(options.module, host);
    const std::wstring name = WideFromUtf8(options.name);

    int64_t index = 0;
    const bool hasIndex = session.Variables().GetVariableInt64(L"DHI", &index) != 0;
    const auto keep = [](EditableValue&) {};
    RequireSaved(Try(session.DataFolder() / NameOfConfigFile(ConfigFile::Settings),
                     [&](EditableDocument& document) {
                         const std::string narrow = NarrowName(name).value_or("");
                         return options.isPerDevice
                                    ? EditDeviceMember(document, narrow,
                                                       hasIndex ? std::optional(index) : std::nullopt, keep)
                                    : EditRootMember(document, narrow, keep);
                     }),
                 options.isPerDevice ? options.name + " at the place that \"DHI\" gives" : options.name);
    SaveAndReport(session, [&](CZQModSettings& module) {
        value.Save(module, name.c_str(), options.isPerDevice ? 1 : 0);
    });
}

void SetHmd(const SetHmdOptions& options) {
    SilentHost host;
    const ModuleSession session(options.module, host);
    const std::wstring device = WideFromUtf8(options.device);
    RequireSaved(Try(session.DataFolder() / NameOfConfigFile(ConfigFile::HmdList),
                     [&](EditableDocument& document) {
                         return EditHmdList(document, NarrowName(device).value_or(""), options.request,
                                            options.values);
                     }),
                 options.device);
    SaveAndReport(session, [&](CZQModSettings& module) {
        module.SaveConfigHmdListIntArray(device.c_str(), options.request.mainRequest,
                                         options.request.subRequest, options.request.index,
                                         options.values.data(), static_cast<int32_t>(options.values.size()));
    });
}

} // namespace

void AddSetCommand(CLI::App& app) {
    const auto options = std::make_shared<SetOptions>();
    CLI::App* const command =
        app.add_subcommand("set", "Save one value into the settings file and print what that changed");
    AddModuleOptions(*command, options->module);
    command->get_option("--data")->required();
    command
        ->add_option("NAME", options->name,
                     "A member at the file's root, or with --device\nCL.<headset>.<member>")
        ->required();
    command->add_option("VALUE", options->value, "The new value")->required();
    command
        ->add_option("--type", options->type,
                     "bool, integer, double or string.\nDefault: what the value looks like")
        ->check(CLI::IsMember({"bool", "integer", "double", "string"}));
    command->add_flag("--device", options->isPerDevice,
                      "The member of the headset in use, which \"DHI\" gives");
    command->callback([options] { Set(*options); });
}

void AddSetHmdCommand(CLI::App& app) {
    const auto options = std::make_shared<SetHmdOptions>();
    CLI::App* const command =
        app.add_subcommand("set-hmd", "Save the values of one response into the headset list and print what\n"
                                      "that changed");
    AddModuleOptions(*command, options->module);
    command->get_option("--data")->required();
    command->add_option("DEVICE", options->device, "The headset's \"DeviceName\"")->required();
    command->add_option("MAIN", options->request.mainRequest, "\"MainRequest\"; -1 for any")->required();
    command->add_option("SUB", options->request.subRequest, "\"SubRequest\"; -1 for any")->required();
    command->add_option("INDEX", options->request.index, "\"index\"; -1 for any")->required();
    command->add_option("VALUE", options->values, "The new values, from the first on")->required();
    command->callback([options] { SetHmd(*options); });
}

} // namespace zq::tool
