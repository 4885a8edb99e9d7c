#include "Commands.h"

#include "Failure.h"
#include "FolderLook.h"
#include "JsonOutput.h"
#include "Text.h"
#include "VariableOrigin.h"
#include "VariableText.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>

namespace zq::tool {

namespace {

struct ExplainOptions {
    ModuleOptions module;
    std::string name;
    bool isJson = false;
};

struct Explanation {
    std::wstring name;
    std::vector<Variable> variables; // one a type
    std::vector<VariableOrigin> places;
    std::vector<VariableOrigin> defaults;
};

std::vector<Variable> WithName(const std::vector<Variable>& all, const std::wstring& name) {
    std::vector<Variable> found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&](const Variable& variable) { return variable.name == name; });
    return found;
}

std::string NoSuchName(const std::vector<Variable>& all, const std::string& name) {
    constexpr size_t kShown = 3;
    std::string text;
    for (const std::wstring& near : NearestVariables(all, name, kShown)) {
        text += (text.empty() ? "; the nearest known are " : ", ") + Utf8FromWide(near);
    }
    return "there is no variable " + name + text;
}

std::string PlaceText(const VariableOrigin& origin) {
    const std::string file = Utf8FromPath(origin.file);
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

// What the text of a duplicate is, stands in its value as it stands in the file.
std::string OriginValueText(const VariableOrigin& origin) {
    return origin.fate == OriginFate::KeyTwice ? Printable(std::get<std::wstring>(origin.value))
                                               : ValueText(origin.value);
}

std::string TextOf(const Explanation& explanation) {
    std::string text = Printable(explanation.name) + "\n";
    for (const Variable& variable : explanation.variables) {
        text += "  " + VariableTypeName(variable.Type()) + ": " + ValueText(variable.value) + "\n";
    }
    for (const VariableOrigin& origin : explanation.places) {
        text += origin.fate == OriginFate::Counts ? "set by " : "lost   ";
        text += PlaceText(origin) + ": " + OriginValueText(origin);
        text += origin.fate == OriginFate::Counts ? "\n" : std::string(", ") + FateText(origin.fate) + "\n";
    }
    if (explanation.places.empty()) {
        text += "set by the module itself, at its start; no file sets it\n";
    }
    for (const VariableOrigin& origin : explanation.defaults) {
        if (origin.fate == OriginFate::Counts) {
            text += "default " + PlaceText(origin) + ": " + OriginValueText(origin) + "\n";
        }
    }
    return text + (explanation.defaults.empty() ? "default none: the default files do not set it\n" : "");
}

void WriteOrigins(JsonWriter& writer, const char* key, const std::vector<VariableOrigin>& origins) {
    writer.Key(key);
    writer.StartArray();
    for (const VariableOrigin& origin : origins) {
        writer.StartObject();
        WriteMember(writer, "file", Utf8FromPath(origin.file));
        WriteMember(writer, "line", int64_t{origin.line});
        WriteMember(writer, "column", int64_t{origin.column});
        writer.Key("value");
        WriteValue(writer, origin.value);
        WriteMember(writer, "fate", FateText(origin.fate));
        writer.EndObject();
    }
    writer.EndArray();
}

std::string JsonTextOf(const Explanation& explanation) {
    return JsonDocument([&](JsonWriter& writer) {
        writer.StartObject();
        WriteMember(writer, "name", Utf8FromWide(explanation.name));
        writer.Key("variables");
        writer.StartArray();
        for (const Variable& variable : explanation.variables) {
            writer.StartObject();
            WriteMember(writer, "type", VariableTypeName(variable.Type()));
            writer.Key("value");
            WriteValue(writer, variable.value);
            writer.EndObject();
        }
        writer.EndArray();
        WriteOrigins(writer, "places", explanation.places);
        WriteOrigins(writer, "defaults", explanation.defaults);
        writer.EndObject();
    });
}

void Explain(const ExplainOptions& options) {
    const std::vector<Variable> all = LookAt(options.module);
    Explanation explanation;
    explanation.name = WideFromUtf8(options.name);
    explanation.variables = WithName(all, explanation.name);
    if (explanation.variables.empty()) {
        throw Failure(NoSuchName(all, options.name));
    }
    const std::filesystem::path defaults = DefaultsFolderOf(options.module.defaults);
    const std::filesystem::path data =
        options.module.data.empty() ? std::filesystem::path() : DataFolderOf(options.module.data);
    explanation.places = OriginsOf(explanation.name, data, defaults);
    explanation.defaults = OriginsOf(explanation.name, {}, defaults);
    const std::string text = options.isJson ? JsonTextOf(explanation) : TextOf(explanation);
    std::fwrite(text.data(), 1, text.size(), stdout);
}

} // namespace

void AddExplainCommand(CLI::App& app) {
    const auto options = std::make_shared<ExplainOptions>();
    CLI::App* const command =
        app.add_subcommand("explain", "Tell which place of which file gives a variable its value, which\n"
                                      "others lose, and what the default file says");
    AddLookOptions(*command, options->module);
    command->add_option("NAME", options->name, "The variable's full name; letter case counts")->required();
    command->add_flag("--json", options->isJson, "Print it as JSON");
    command->callback([options] { Explain(*options); });
}

} // namespace zq::tool
