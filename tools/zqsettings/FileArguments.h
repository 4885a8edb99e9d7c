// The files that a command line names, and which configuration file each of them is.
#pragma once

#include "FileBytes.h"

#include "config/ConfigFile.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zq::tool {

struct FileArgument {
    std::filesystem::path path; // "-" for standard input
    std::string shown;          // as it was given, UTF-8
    ConfigFile file;
};

// One that cannot be looked at.
struct FailedFile {
    std::string shown; // as it was given, UTF-8
    std::string text;  // why, as a sentence without its full stop
};

struct FileArguments {
    std::vector<FileArgument> files;
    std::vector<FailedFile> failures;
};

// Which file it is by its name, in any letter case; a corrected copy or backup counts as its original.
// Nothing for other names.
std::optional<ConfigFile> FileOfName(const std::filesystem::path& path);

// What --as takes: "settings", "hmd-list" and "quality".
std::vector<std::string> FileRoles();

// `as` is one of the roles, or empty for by name. A folder means the
// three files in it or in its "ZQserver"; a name with * or ? the files that match, as cmd.exe leaves that to
// the program; "-" standard input, which needs `as`.
FileArguments LookUpFiles(const std::vector<std::string>& arguments, const std::string& as);

// Raises Failure where the file cannot be read.
std::string BytesOf(const FileArgument& argument);

} // namespace zq::tool
