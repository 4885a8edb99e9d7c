#include "Commands.h"

#include "ConsoleHost.h"
#include "ModuleSession.h"
#include "VariableFilter.h"
#include "VariableText.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

namespace zq::tool {

namespace {

struct ShowOptions {
    ModuleOptions module;
    VariableFilter filter;
    bool isJson = false;
};

void Show(const ShowOptions& options) {
    ConsoleHost host(options.isJson ? stderr : stdout);
    std::vector<Variable> variables;
    {
        const ModuleSession session(options.module, host);
        variables = options.filter.Apply(ListVariables(session.Variables()));
    }
    const std::string text = options.isJson ? JsonText(variables) : "\n" + TableText(variables);
    std::fwrite(text.data(), 1, text.size(), stdout);
}

} // namespace

void AddShowCommand(CLI::App& app) {
    const auto options = std::make_shared<ShowOptions>();
    CLI::App* const command =
        app.add_subcommand("show", "Load the three files as a server does and print the module's\nmessages "
                                   "as they come, then all variables, sorted by name");
    AddModuleOptions(*command, options->module);
    AddFilterOptions(*command, options->filter);
    command->add_flag("--json", options->isJson, "Print the variables as JSON; the messages go to stderr");
    command->callback([options] { Show(*options); });
}

} // namespace zq::tool
