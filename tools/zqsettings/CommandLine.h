// One run of the program, from its arguments to its exit code. The program's main does no more than this, and
// tests run many command lines in one process by it.
#pragma once

#include <string>
#include <vector>

namespace zq::tool {

// Parses the arguments (UTF-8, without the program's name), runs the command that they name, and prints what
// goes wrong on stderr. Returns the exit code. One run at a time: a command may take Ctrl+C for itself.
int RunCommandLine(std::vector<std::string> arguments);

} // namespace zq::tool
