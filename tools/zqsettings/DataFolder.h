// Which data folder a command is about. One rule for --data everywhere: the folder that holds "ZQserver",
// "ZQserver" itself, or a folder with configuration files in it.
#pragma once

#include "Command.h"

#include <filesystem>
#include <optional>
#include <string>

namespace zq::tool {

inline constexpr const wchar_t* kDataFolderName = L"ZQserver";
inline constexpr const char* kDataFolderVariable = "ZQ_DATA_DIR";

// Adds --data to a command. `otherwise` ends its help: what is read on a machine without a data folder.
// `data` must outlive the parse.
void AddDataOption(Command command, std::string& data, const std::string& otherwise);

// The folder with the private files that `data` means. Raises Failure where there is none.
std::filesystem::path DataFolderOf(const std::string& data);

// As above, and for an empty `data` the server's: what the environment variable ZQ_DATA_DIR names, then
// "ZQserver" in the machine's common data folder. Says on stderr which of the two was taken. Nothing where
// the machine has neither.
std::optional<std::filesystem::path> FindDataFolder(const std::string& data);

// As above. Raises Failure where there is none.
std::filesystem::path RequireDataFolder(const std::string& data);

// --defaults, or the folder "defaults" beside this program. Raises Failure where that does not exist.
std::filesystem::path DefaultsFolderOf(const std::string& defaults);

} // namespace zq::tool
