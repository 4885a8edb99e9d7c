// What the parser leaves to say about a command line: "help COMMAND", mistyped commands and options.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
} // namespace CLI

namespace zq::tool {

// "help" and "help COMMAND" become "--help" and "COMMAND --help".
void TurnHelpAround(std::vector<std::string>& arguments);

// Raises Failure where the first argument is no command and no option, with the one that may be meant.
void RequireCommand(const CLI::App& app, const std::vector<std::string>& arguments);

// The text of a request for help or for the versions.
std::string HelpOrVersion(const CLI::App& app, const CLI::ParseError& request);

// The parser's sentence, with the option that a mistyped one may stand for and where to read on.
std::string UsageText(const CLI::App& app, const std::string& error,
                      const std::vector<std::string>& arguments);

} // namespace zq::tool
