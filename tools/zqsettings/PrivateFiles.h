// The three files of a data folder, looked at before anything is done with them, and the only two changes
// that this program makes to a file without being asked for a value: a missing file copied from its default,
// a refused one kept under another name.
#pragma once

#include "Command.h"

#include "config/ConfigFile.h"

#include <array>
#include <filesystem>
#include <optional>
#include <string>

namespace zq::tool {

enum class PrivateFileState { Accepted, Refused, Missing };

struct PrivateFile {
    ConfigFile file;
    std::filesystem::path path;
    PrivateFileState state;
    std::string bytes; // empty for a missing one
};

using PrivateFiles = std::array<PrivateFile, kConfigFiles.size()>;

// Raises Failure for a file that cannot be read.
PrivateFile LookAtPrivateFile(const std::filesystem::path& folder, ConfigFile file);
PrivateFiles LookAtPrivateFiles(const std::filesystem::path& folder);

// What a command may do about files that the module would replace.
struct RepairOptions {
    bool isProvision = false;       // --provision
    bool isReplaceRefused = false;  // --replace-refused
    bool canReplaceRefused = false; // whether the command has that option
};

// `options` must outlive the parse.
void AddProvisionFlag(Command command, RepairOptions& options);
void AddReplaceFlag(Command command, RepairOptions& options);

// Returns when the options allow to go on with the files as they are. Otherwise prints why on stderr, as the
// checker does, and raises Failure; nothing has been changed then.
void RequireRepairable(const PrivateFiles& files, const RepairOptions& options);

// Copies the default where the file is missing; keeps a refused file as "NAME.refused-TIME", which is
// returned, and puts the default in its place. Does nothing to an accepted one. Raises Failure where that
// fails.
std::optional<std::filesystem::path> Repair(const PrivateFile& file, const std::filesystem::path& defaults);

// Says on stderr what Repair did.
void PrintRepair(const PrivateFile& file, const std::optional<std::filesystem::path>& keptAs);

// The first error of a refused file as the checker prints it.
std::string RefusalText(const PrivateFile& file, bool hasColour);

} // namespace zq::tool
