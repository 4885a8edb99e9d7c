#include "serve/SaveAnswer.h"

#include "Failure.h"
#include "SavedValue.h"
#include "SettingCheck.h"
#include "SettingsDocument.h"
#include "Text.h"
#include "VariableOrigin.h"

#include "save/JsonDocument.h"
#include "save/NarrowName.h"
#include "save/SaveOperations.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <variant>

namespace zq::tool {

namespace {

struct Savability {
    bool isPossible = false;
    bool isPerDevice = false;
    std::string type; // of SavedValue
    std::string reason;
};

Savability Impossible(std::string reason) { return {false, false, "", std::move(reason)}; }

const Variable* Find(const std::vector<Variable>& variables, const std::wstring& name) {
    const auto found = std::find_if(variables.begin(), variables.end(),
                                    [&](const Variable& variable) { return variable.name == name; });
    return found == variables.end() ? nullptr : &*found;
}

template <class Value>
const Value* FindValue(const std::vector<Variable>& variables, const std::wstring& name) {
    for (const Variable& variable : variables) {
        if (variable.name == name) {
            if (const auto* value = std::get_if<Value>(&variable.value)) {
                return value;
            }
        }
    }
    return nullptr;
}

const char* SaveType(const VariableValue& value) {
    constexpr const char* kTypes[] = {"bool", "integer", "double", "string"};
    return value.index() < std::size(kTypes) ? kTypes[value.index()] : nullptr;
}

// "CL.<the headset in use>.": its members are saved through the list.
std::wstring DevicePrefix(const std::vector<Variable>& variables) {
    const auto* index = FindValue<int64_t>(variables, L"DHI");
    const auto* name =
        index ? FindValue<std::wstring>(variables, L"HmdNameList." + std::to_wstring(*index)) : nullptr;
    return name ? L"CL." + *name + L"." : L"";
}

bool CanEdit(const Dashboard& dashboard, const std::function<SaveResult(EditableDocument&)>& edit) {
    std::unique_ptr<EditableDocument> document;
    LoadJsonDoc(dashboard.Files().PathOf(ConfigFile::Settings).wstring(), document);
    return document && edit(*document) == SaveResult::Saved;
}

std::string WhereItIs(const Dashboard& dashboard, const std::wstring& name) {
    const std::vector<VariableOrigin> places =
        OriginsOf(name, dashboard.Files().Folder(), dashboard.Defaults().Folder());
    if (places.empty() || places.back().line == 0) {
        return "no file sets it: the module finds it out by itself";
    }
    const VariableOrigin& place = places.back();
    const std::string file = Utf8FromPath(place.file.filename());
    if (file != NameOf(ConfigFile::Settings)) {
        return "it is set by " + file + ", line " + std::to_string(place.line) + "; edit it there";
    }
    return "it is inside a group (line " + std::to_string(place.line) +
           "): a save reaches members of the root and of the headset in use; edit it in the file";
}

Savability SavabilityOf(Dashboard& dashboard, const std::wstring& name) {
    const RunMode mode = dashboard.State().Mode();
    if (!mode.isWritable || !dashboard.WithLiveModule([](ModuleRun&) {})) {
        return Impossible(mode.reason);
    }
    const std::vector<Variable> variables = dashboard.State().Variables();
    const Variable* const variable = Find(variables, name);
    const char* const type = variable ? SaveType(variable->value) : nullptr;
    if (!type) {
        return Impossible(variable ? "binary values are in no file" : "there is no such variable");
    }
    const auto keep = [](EditableValue&) {};
    const std::string narrow = NarrowName(name);
    if (CanEdit(dashboard,
                [&](EditableDocument& document) { return EditRootMember(document, narrow, keep); })) {
        return {true, false, type, ""};
    }
    const std::wstring prefix = DevicePrefix(variables);
    const bool isOfDevice = !prefix.empty() && name.starts_with(prefix) &&
                            name.find(L'.', prefix.size()) == std::wstring::npos &&
                            std::count(prefix.begin(), prefix.end(), L'.') == 2;
    if (isOfDevice) {
        const std::optional<int64_t> index = *FindValue<int64_t>(variables, L"DHI");
        if (CanEdit(dashboard, [&](EditableDocument& document) {
                return EditDeviceMember(document, narrow, index, keep);
            })) {
            return {true, true, type, ""};
        }
    }
    return Impossible(WhereItIs(dashboard, name));
}

struct Saver {
    CZQModSettings& module;
    const wchar_t* name;
    ZQBool perDevice;

    void operator()(bool value) const { module.SaveConfigBool(name, value ? 1 : 0, perDevice); }
    void operator()(int64_t value) const { module.SaveConfigInt64(name, value, perDevice); }
    void operator()(double value) const { module.SaveConfigDouble(name, value, perDevice); }
    void operator()(const std::string& value) const {
        module.SaveConfigString(name, value.c_str(), perDevice);
    }
};

void ReportSave(Dashboard& dashboard, const Arguments& arguments, const std::string& reason) {
    Message message("save");
    message.Text("file", NameOf(ConfigFile::Settings)).Text("name", arguments.Text("name"));
    message.Text("value", arguments.Text("value")).Text("outcome", reason.empty() ? "saved" : "refused");
    if (!reason.empty()) {
        message.Text("reason", reason);
    }
    dashboard.State().Add(message.Take());
}

void Save(Dashboard& dashboard, const Arguments& arguments) {
    const std::wstring name = WideFromUtf8(arguments.Text("name"));
    const Savability savability = SavabilityOf(dashboard, name);
    if (!savability.isPossible) {
        throw Failure(savability.reason);
    }
    const std::optional<std::string> bytes = dashboard.Files().Read(ConfigFile::Settings);
    if (!bytes) {
        throw Failure("the file cannot be read now: somebody holds it");
    }
    const SavedValue value =
        RequireSensible(SettingsDocument(*bytes),
                        {arguments.Text("name"), arguments.Text("value"), "", savability.isPerDevice,
                         arguments.IsSet("insist"), HeadsetIndex(dashboard.State().Variables())});
    const auto before = dashboard.Files().Stamp(ConfigFile::Settings);
    const bool isLive = dashboard.WithLiveModule([&](ModuleRun& run) {
        std::visit(Saver{run.Settings(), name.c_str(), savability.isPerDevice ? ZQBool{1} : ZQBool{0}},
                   value);
    });
    if (!isLive || dashboard.Files().Stamp(ConfigFile::Settings) == before) {
        throw Failure("the file was not written: it is locked or read-only");
    }
}

} // namespace

void WriteSavability(MessageWriter& writer, Dashboard& dashboard, const std::wstring& name) {
    const Savability savability = SavabilityOf(dashboard, name);
    writer.StartObject();
    writer.Key("possible");
    writer.Bool(savability.isPossible);
    if (!savability.isPossible) {
        WriteMember(writer, "reason", savability.reason);
    }
    writer.EndObject();
}

void AnswerSave(Dashboard& dashboard, const Arguments& arguments, MessageWriter&) {
    try {
        Save(dashboard, arguments);
    } catch (const Failure& failure) {
        ReportSave(dashboard, arguments, failure.what());
        throw;
    }
    ReportSave(dashboard, arguments, "");
}

} // namespace zq::tool
