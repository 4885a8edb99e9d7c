#include "Commands.h"

#include "FolderLook.h"
#include "JsonOutput.h"
#include "Text.h"
#include "VariableDifference.h"
#include "VariableFilter.h"
#include "VariableText.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

namespace zq::tool {

namespace {

struct DiffOptions {
    ModuleOptions module;
    VariableFilter filter;
    bool isJson = false;
};

void WriteChange(JsonWriter& writer, const VariableChange& change) {
    writer.StartObject();
    WriteMember(writer, "name", Utf8FromWide(change.name));
    WriteMember(writer, "type", VariableTypeName(change.type));
    if (!change.oldValue.empty()) {
        WriteMember(writer, "default", change.oldValue);
    }
    if (!change.newValue.empty()) {
        WriteMember(writer, "value", change.newValue);
    }
    writer.EndObject();
}

std::string JsonTextOf(const std::vector<VariableChange>& changes) {
    return JsonDocument([&](JsonWriter& writer) {
        writer.StartArray();
        for (const VariableChange& change : changes) {
            WriteChange(writer, change);
        }
        writer.EndArray();
    });
}

std::string TextOf(const std::vector<VariableChange>& changes) {
    std::string text;
    for (const VariableChange& change : changes) {
        text += ChangeText(change) + "\n";
    }
    return text + std::to_string(changes.size()) +
           (changes.size() == 1 ? " variable differs from the defaults\n"
                                : " variables differ from the defaults\n");
}

void Diff(const DiffOptions& options) {
    ModuleOptions defaults = options.module;
    defaults.data.clear();
    const std::vector<Variable> before = options.filter.Apply(LookAt(defaults));
    const std::vector<Variable> after = options.filter.Apply(LookAt(options.module));
    const std::vector<VariableChange> changes = Difference(before, after);
    const std::string text = options.isJson ? JsonTextOf(changes) : TextOf(changes);
    std::fwrite(text.data(), 1, text.size(), stdout);
}

} // namespace

void AddDiffCommand(CLI::App& app) {
    const auto options = std::make_shared<DiffOptions>();
    CLI::App* const command =
        app.add_subcommand("diff", "Print the variables by which a data folder differs from the defaults");
    AddLookOptions(*command, options->module);
    command->get_option("--data")->required()->description(
        "Folder that holds \"ZQserver\" with the three private files,\n"
        "or \"ZQserver\" itself; it is left as it is");
    AddFilterOptions(*command, options->filter);
    command->add_flag("--json", options->isJson, "Print them as JSON");
    command->callback([options] { Diff(*options); });
}

} // namespace zq::tool
