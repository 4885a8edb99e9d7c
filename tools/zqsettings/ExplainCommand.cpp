#include "Commands.h"

#include "Console.h"
#include "Failure.h"
#include "FolderLook.h"
#include "JsonOutput.h"
#include "NameLookup.h"
#include "Text.h"
#include "VariableFilter.h"
#include "VariableOrigin.h"
#include "VariableText.h"

#include <memory>

namespace zq::tool {

namespace {

struct ExplainOptions {
    ModuleOptions module;
    VariableFilter filter;
    bool isJson = false;
};

// One type of one name.
struct Explanation {
    Variable variable;
    std::vector<VariableOrigin> origins;
    std::vector<VariableOrigin> others; // that set the name with other types only
    std::vector<VariableOrigin> defaults;
};

std::string PositionText(const VariableOrigin& origin) {
    const std::string file = Visible(origin.file.native());
    return origin.line == 0 ? file + " (counted by the module)"
                            : file + ':' + std::to_string(origin.line) + ':' + std::to_string(origin.column);
}

const char* FateText(OriginFate fate) {
    switch (fate) {
    case OriginFate::WrittenOver:
        return "written over";
    case OriginFate::KeyTwice:
        return "the key comes again";
    default:
        return "counts";
    }
}

// A duplicate's value is shown as the file has it.
std::string OriginValueText(const VariableOrigin& origin) {
    return origin.fate == OriginFate::KeyTwice ? Printable(std::get<std::wstring>(origin.value))
                                               : ValueText(origin.value);
}

std::string OriginText(const VariableOrigin& origin) {
    const bool isLost = origin.fate != OriginFate::Counts;
    std::string text = isLost ? "    lost    " : "    set by  ";
    text += PositionText(origin) + ": " + OriginValueText(origin);
    return text + (isLost ? std::string(", ") + FateText(origin.fate) + "\n" : "\n");
}

std::string OwnValueText(const std::vector<VariableOrigin>& others) {
    std::string text = "    the module's own value at its start";
    for (const VariableOrigin& other : others) {
        const std::string type = VariableTypeName(TypeOf(other.kind));
        text += "; " + PositionText(other) + ": " + OriginValueText(other) + " is ";
        text += (type == "integer" ? "an " : "a ") + type + " and does not set it";
    }
    return text + (others.empty() ? "; no file sets it\n" : "\n");
}

std::string DefaultLine(const std::vector<VariableOrigin>& defaults) {
    for (const VariableOrigin& origin : defaults) {
        if (origin.fate == OriginFate::Counts) {
            return "    default " + PositionText(origin) + ": " + OriginValueText(origin) + "\n";
        }
    }
    return "    default none: the default files do not set it\n";
}

std::string TextOf(const std::vector<Explanation>& explanations) {
    std::string text;
    std::wstring_view name;
    for (const Explanation& one : explanations) {
        if (one.variable.name != name) {
            name = one.variable.name;
            text += Printable(name) + "\n";
        }
        text += "  " + VariableTypeName(one.variable.Type()) + " " + ValueText(one.variable.value) + "\n";
        for (const VariableOrigin& origin : one.origins) {
            text += OriginText(origin);
        }
        text += one.origins.empty() ? OwnValueText(one.others) : "";
        text += DefaultLine(one.defaults);
    }
    return text;
}

void WriteOrigins(JsonWriter& writer, const char* key, const std::vector<VariableOrigin>& origins) {
    writer.Key(key);
    writer.StartArray();
    for (const VariableOrigin& origin : origins) {
        writer.StartObject();
        WriteMember(writer, "file", Utf8FromPath(origin.file));
        if (origin.line > 0) {
            WriteMember(writer, "line", int64_t{origin.line});
            WriteMember(writer, "column", int64_t{origin.column});
        }
        if (origin.fate == OriginFate::KeyTwice) {
            WriteMember(writer, "text", Utf8FromWide(std::get<std::wstring>(origin.value)));
        } else {
            writer.Key("value");
            WriteValue(writer, origin.value);
        }
        WriteMember(writer, "fate", FateText(origin.fate));
        writer.EndObject();
    }
    writer.EndArray();
}

std::string JsonTextOf(const std::vector<Explanation>& explanations) {
    return JsonDocument([&](JsonWriter& writer) {
        writer.StartArray();
        for (const Explanation& one : explanations) {
            writer.StartObject();
            WriteMember(writer, "name", Utf8FromWide(one.variable.name));
            WriteMember(writer, "type", VariableTypeName(one.variable.Type()));
            writer.Key("value");
            WriteValue(writer, one.variable.value);
            WriteMember(writer, "setBy", one.origins.empty() ? "module" : "file");
            WriteOrigins(writer, "origins", one.origins);
            WriteOrigins(writer, "defaults", one.defaults);
            writer.EndObject();
        }
        writer.EndArray();
    });
}

Explanation ExplanationOf(const Variable& variable, const VariableOrigins& folder,
                          const VariableOrigins& defaults) {
    const std::vector<VariableOrigin> all = folder.Of(variable.name);
    Explanation explanation{variable, OriginsOfType(all, variable.Type()), {}, {}};
    if (explanation.origins.empty()) {
        explanation.others = all;
    }
    explanation.defaults = OriginsOfType(defaults.Of(variable.name), variable.Type());
    return explanation;
}

void Explain(const ExplainOptions& options) {
    const std::optional<std::filesystem::path> folder = FindDataFolderOrDefaults(options.module.data);
    const std::vector<Variable> all = LookAt(options.module, folder);
    RequireKnown(options.filter, all);
    const std::filesystem::path defaultsFolder = DefaultsFolderOf(options.module.defaults);
    const VariableOrigins origins(folder.value_or(std::filesystem::path()), defaultsFolder);
    const VariableOrigins defaults({}, defaultsFolder);
    std::vector<Explanation> explanations;
    for (const Variable& variable : options.filter.Apply(all)) {
        explanations.push_back(ExplanationOf(variable, origins, defaults));
    }
    Print(options.isJson ? JsonTextOf(explanations) : TextOf(explanations));
}

} // namespace

void AddExplainCommand(CLI::App& app) {
    const auto options = std::make_shared<ExplainOptions>();
    Command command(app, "explain",
                    "Print which place of which file gives a variable its value, which\n"
                    "others lose, and what the default file has");
    AddModuleOptions(command, options->module);
    AddNames(command, options->filter).Required();
    command.AddFlag("--json", options->isJson, "Print it as JSON");
    command.Run([options] { Explain(*options); });
}

} // namespace zq::tool
