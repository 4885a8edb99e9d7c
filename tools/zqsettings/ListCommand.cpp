// The commands that print variables: all of a folder, or some by name.
#include "Commands.h"

#include "Console.h"
#include "FolderLook.h"
#include "KeyText.h"
#include "NameLookup.h"
#include "NamePattern.h"
#include "Text.h"
#include "VariableFilter.h"
#include "VariableOrigin.h"
#include "VariableText.h"

#include <algorithm>
#include <memory>

namespace zq::tool {

namespace {

namespace fs = std::filesystem;

struct ListOptions {
    ModuleOptions module;
    VariableFilter filter;
    bool isJson = false;
    bool isLong = false;
};

void List(const ListOptions& options) {
    const std::vector<Variable> all = LookAt(options.module, FindDataFolderOrDefaults(options.module.data));
    RequireKnown(options.filter, all);
    const std::vector<Variable> variables = options.filter.Apply(all);
    Print(options.isJson   ? JsonText(variables)
          : options.isLong ? LongTableText(variables)
                           : TableText(variables));
}

bool IsOneName(const VariableFilter& filter) {
    return filter.names.size() == 1 && !IsPattern(filter.names.front());
}

// Of the types of a name, the first.
std::vector<Variable> FirstTypes(const std::vector<Variable>& variables) {
    std::vector<Variable> first;
    for (const Variable& variable : variables) {
        if (first.empty() || first.back().name != variable.name) {
            first.push_back(variable);
        }
    }
    return first;
}

// Somebody who wrote "90" into a file and reads 70 here should learn why.
void PrintOtherType(const Variable& variable, const std::vector<VariableOrigin>& origins) {
    if (origins.empty() || !OriginsOfType(origins, variable.Type()).empty()) {
        return;
    }
    const VariableOrigin& origin = origins.back();
    const std::string type = VariableTypeName(TypeOf(origin.kind));
    PrintNote(Utf8FromWide(variable.name) + " is also the " + type + ' ' + ValueText(origin.value) +
              ", set by " + Utf8FromPath(origin.file) + ':' + std::to_string(origin.line) +
              "; this is the module's own value, and --type " + type + " prints the other");
}

std::string PlainTextOf(const std::vector<Variable>& variables, bool isOne) {
    std::string text;
    for (const Variable& variable : variables) {
        const std::string value = PlainText(variable.value);
        if (!isOne) {
            text += Printable(variable.name) + '\t' + Visible(WideFromUtf8(value)) + '\n';
        } else {
            // A script gets a text as it is, a terminal no character that it would act on.
            text += (IsConsole(stdout) ? Visible(WideFromUtf8(value)) : value) + '\n';
        }
    }
    return text;
}

void Get(const ListOptions& options) {
    const std::optional<fs::path> folder = FindDataFolderOrDefaults(options.module.data);
    const std::vector<Variable> all = LookAt(options.module, folder);
    RequireKnown(options.filter, all);
    const std::vector<Variable> found = options.filter.Apply(all);
    if (options.isJson) {
        Print(JsonText(found));
        return;
    }
    const std::vector<Variable> printed = FirstTypes(found);
    const fs::path defaults = DefaultsFolderOf(options.module.defaults);
    Print(PlainTextOf(printed, IsOneName(options.filter)));
    const VariableOrigins origins(folder.value_or(fs::path()), defaults);
    for (const Variable& variable : printed) {
        PrintOtherType(variable, origins.Of(variable.name));
    }
}

} // namespace

void AddListCommand(CLI::App& app) {
    const auto options = std::make_shared<ListOptions>();
    Command command(app, "list", "Print the variables of a folder, sorted by name");
    AddModuleOptions(command, options->module);
    AddNames(command, options->filter);
    AddFilterOptions(command, options->filter);
    command.AddFlag("--long", options->isLong, "With what each is: meaning, type, range, unit, default");
    command.AddFlag("--json", options->isJson, "Print them as JSON");
    command.Run([options] { List(*options); });
}

void AddGetCommand(CLI::App& app) {
    const auto options = std::make_shared<ListOptions>();
    Command command(app, "get",
                    "Print the value of one variable, plain, for scripts; of several,\n"
                    "a line each with name, tabulator and value");
    AddModuleOptions(command, options->module);
    AddNames(command, options->filter).Required();
    AddTypeOption(
        command, options->filter,
        "Of the variables with this name. Default: the first of bool,\ninteger, double, string, binary");
    command.AddFlag("--json", options->isJson, "Print all types of the names as JSON");
    command.Run([options] { Get(*options); });
}

} // namespace zq::tool
