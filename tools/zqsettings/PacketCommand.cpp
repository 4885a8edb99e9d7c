#include "Commands.h"

#include "Failure.h"
#include "PacketContent.h"
#include "Text.h"
#include "VariableFilter.h"
#include "VariableText.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>

#include <fcntl.h>
#include <io.h>

namespace zq::tool {

namespace {

struct PacketOptions {
    std::string file;
    VariableFilter filter;
    bool isJson = false;
};

std::vector<uint8_t> ReadAll(std::istream& in) {
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<uint8_t> ReadBytes(const std::string& file) {
    if (file == "-") {
        _setmode(_fileno(stdin), _O_BINARY);
        return ReadAll(std::cin);
    }
    std::ifstream in(std::filesystem::path(WideFromUtf8(file)), std::ios::binary);
    if (!in) {
        throw Failure("the file " + file + " cannot be read");
    }
    return ReadAll(in);
}

void PrintPacket(const PacketOptions& options) {
    PacketContent content = ReadPacket(ReadBytes(options.file));
    SortVariables(content.variables);
    const std::vector<Variable> variables = options.filter.Apply(std::move(content.variables));
    const std::string text = options.isJson ? JsonText(variables) : TableText(variables);
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
    for (const PacketProblem& problem : content.problems) {
        std::fprintf(stderr, "zqsettings: %s: byte %zu: %s.\n", options.file.c_str(), problem.offset,
                     problem.text.c_str());
    }
    if (!content.problems.empty()) {
        throw CLI::RuntimeError(1);
    }
}

} // namespace

void AddPacketCommand(CLI::App& app) {
    const auto options = std::make_shared<PacketOptions>();
    CLI::App* const command = app.add_subcommand(
        "packet", "Print the variables of a packet, and where and why a module would stop\n"
                  "reading it; exit code 1 for a packet that is damaged");
    command->add_option("FILE", options->file, "The packet; \"-\" for standard input")->required();
    AddFilterOptions(*command, options->filter);
    command->add_flag("--json", options->isJson, "Print the variables as JSON");
    command->callback([options] { PrintPacket(*options); });
}

} // namespace zq::tool
