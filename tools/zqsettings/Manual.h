// The man page and the completions, made from the declarations of the commands.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace zq::tool {

std::string ManPage(const CLI::App& app);
std::string BashCompletion(const CLI::App& app);
std::string PowerShellCompletion(const CLI::App& app);

} // namespace zq::tool
