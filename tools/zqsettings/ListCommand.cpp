// The commands that print variables: all of a folder, or one.
#include "Commands.h"

#include "Failure.h"
#include "FolderLook.h"
#include "Text.h"
#include "VariableFilter.h"
#include "VariableText.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>

namespace zq::tool {

namespace {

struct ListOptions {
    ModuleOptions module;
    VariableFilter filter;
    bool isJson = false;
};

struct GetOptions {
    ModuleOptions module;
    std::string name;
    std::string type;
    bool isJson = false;
};

void Print(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

void List(const ListOptions& options) {
    const std::vector<Variable> variables = options.filter.Apply(LookAt(options.module));
    Print(options.isJson ? JsonText(variables) : TableText(variables));
}

std::string UnknownName(const std::vector<Variable>& variables, const GetOptions& options) {
    const std::vector<std::wstring> nearest = NearestVariables(variables, options.name, 1);
    std::string text = "there is no variable " + options.name;
    text += options.type.empty() ? "" : " of type " + options.type;
    return nearest.empty() || nearest.front() == WideFromUtf8(options.name)
               ? text
               : text + "; the nearest known is " + Utf8FromWide(nearest.front());
}

void Get(const GetOptions& options) {
    const std::vector<Variable> variables = LookAt(options.module);
    const std::wstring name = WideFromUtf8(options.name);
    std::vector<Variable> found;
    std::copy_if(variables.begin(), variables.end(), std::back_inserter(found),
                 [&](const Variable& variable) {
                     return variable.name == name &&
                            (options.type.empty() || options.type == VariableTypeName(variable.Type()));
                 });
    if (found.empty()) {
        throw Failure(UnknownName(variables, options));
    }
    Print(options.isJson ? JsonText(found) : PlainText(found.front().value) + "\n");
}

} // namespace

void AddListCommand(CLI::App& app) {
    const auto options = std::make_shared<ListOptions>();
    CLI::App* const command = app.add_subcommand("list", "Print the variables of a folder, sorted by name");
    AddLookOptions(*command, options->module);
    AddFilterOptions(*command, options->filter);
    command->add_flag("--json", options->isJson, "Print them as JSON");
    command->callback([options] { List(*options); });
}

void AddGetCommand(CLI::App& app) {
    const auto options = std::make_shared<GetOptions>();
    CLI::App* const command =
        app.add_subcommand("get", "Print the value of one variable, plain, for scripts");
    AddLookOptions(*command, options->module);
    command->add_option("NAME", options->name, "The variable's full name; letter case counts")->required();
    command
        ->add_option(
            "--type", options->type,
            "Of the variables with this name. Default: the first of bool,\ninteger, double, string, binary")
        ->check(CLI::IsMember({"bool", "integer", "double", "string", "binary"}));
    command->add_flag("--json", options->isJson, "Print all types of the name as JSON");
    command->callback([options] { Get(*options); });
}

} // namespace zq::tool
