#include "Commands.h"

#include "Console.h"
#include "Failure.h"
#include "FileBytes.h"
#include "PacketContent.h"
#include "Text.h"
#include "VariableFilter.h"
#include "VariableText.h"

#include <memory>

namespace zq::tool {

namespace {

struct PacketOptions {
    std::string file;
    VariableFilter filter;
    bool isJson = false;
};

void PrintPacket(const PacketOptions& options) {
    const bool isPiped = options.file == "-";
    const std::string shown = isPiped ? "standard input" : options.file;
    const std::string bytes = isPiped ? ReadStandardInput() : ReadBytes(WideFromUtf8(options.file));
    PacketContent content = ReadPacket({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    SortVariables(content.variables);
    const std::vector<Variable> variables = options.filter.Apply(std::move(content.variables));
    Print(options.isJson ? JsonText(variables) : TableText(variables));
    for (const PacketProblem& problem : content.problems) {
        PrintFailure(shown + ": byte " + std::to_string(problem.offset) + ": " + problem.text);
    }
    if (!content.problems.empty()) {
        throw Ended{ExitCode::No};
    }
}

} // namespace

void AddPacketCommand(CLI::App& app) {
    const auto options = std::make_shared<PacketOptions>();
    Command command(app, "packet",
                    "Print the variables of a packet, and where and why a module would stop\n"
                    "reading it; exit code 1 for a packet that is damaged");
    command.Add("FILE", options->file, "", "The packet; \"-\" for standard input").Required().NotEmpty();
    AddFilterOptions(command, options->filter);
    command.AddFlag("--json", options->isJson, "Print the variables as JSON");
    command.Run([options] { PrintPacket(*options); });
}

} // namespace zq::tool
