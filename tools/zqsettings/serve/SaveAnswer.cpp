#include "serve/SaveAnswer.h"

#include "Failure.h"
#include "SavedValue.h"
#include "Text.h"
#include "VariableOrigin.h"

#include "save/JsonDocument.h"
#include "save/NarrowName.h"
#include "save/SaveOperations.h"

#include <algorithm>
#include <memory>
#include <optional>

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
    const std::string narrow = NarrowName(name).value_or("");
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

bool IsAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

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
    const std::string text = arguments.Text("value");
    if (savability.type == "string" && !IsAscii(text)) {
        throw Failure("the text has characters beyond ASCII, which a file may hold only as \\u escapes; "
                      "edit it in the file");
    }
    const SavedValue value = ParseSavedValue(text, savability.type);
    const auto before = dashboard.Files().Stamp(ConfigFile::Settings);
    const bool isLive = dashboard.WithLiveModule(
        [&](ModuleRun& run) { value.Save(run.Settings(), name.c_str(), savability.isPerDevice ? 1 : 0); });
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
        WriteTextMember(writer, "reason", savability.reason);
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
