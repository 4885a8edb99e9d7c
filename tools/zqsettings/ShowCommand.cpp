#include "Commands.h"

#include "ConsoleHost.h"
#include "Failure.h"
#include "ModuleSession.h"
#include "Text.h"
#include "VariableFilter.h"
#include "VariableText.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

namespace zq::tool {

namespace {

struct ShowOptions {
    ModuleOptions module;
    VariableFilter filter;
    bool isJson = false;
    std::string packetFile;
};

void SavePacket(const std::string& file, const std::vector<uint8_t>& packet) {
    std::ofstream out(std::filesystem::path(WideFromUtf8(file)), std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(packet.data()), static_cast<std::streamsize>(packet.size()));
    out.close();
    if (!out) {
        throw Failure("the file " + file + " cannot be written");
    }
}

void Show(const ShowOptions& options) {
    ConsoleHost host(options.isJson ? stderr : stdout);
    std::vector<Variable> variables;
    {
        const ModuleSession session(options.module, host);
        if (!options.packetFile.empty()) {
            SavePacket(options.packetFile, PackVariables(session.Variables()));
        }
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
    command
        ->add_option("--save-packet", options->packetFile,
                     "Write all variables to a file, as the packet that other\nprocesses are sent")
        ->type_name("FILE");
    command->callback([options] { Show(*options); });
}

} // namespace zq::tool
