// Commands of the system that Wine runs on: links, and the editors that people use there. On Windows itself
// there are none.
#pragma once

#include <filesystem>
#include <string>

namespace zq::test {

// Whether the test program runs under Wine.
bool HasUnixCommands();

// The path as the commands see it, in quotes for the shell.
std::string UnixPath(const std::filesystem::path& path);

// Runs a command of the shell in `folder` and waits for its end. Returns its exit code, or -1 when it does
// not end within ten seconds.
int RunUnix(const std::filesystem::path& folder, const std::string& command);

// Makes `link` a symbolic link to `target`, which need not exist.
void MakeLink(const std::filesystem::path& target, const std::filesystem::path& link);

} // namespace zq::test
