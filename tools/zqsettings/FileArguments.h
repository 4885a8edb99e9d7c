// The files that a command line names, and what each stands for.
#pragma once

#include "FileBytes.h"

#include "config/ConfigText.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zq::tool {

struct FileArgument {
    std::filesystem::path path;
    std::string shown; // as it was given, UTF-8
    ConfigFile file;
};

// What a file is for by its name, in any letter case; a mended copy or backup keeps its original's. Nothing
// for other names.
std::optional<ConfigFile> FileOfName(const std::filesystem::path& path);

// "settings", "hmd-list" or "quality", as --as takes it; empty for by name. A folder stands for those of the
// three files that it holds. Raises Failure for a name that says nothing, and for what does not exist.
std::vector<FileArgument> FilesOf(const std::vector<std::string>& arguments, const std::string& as);

} // namespace zq::tool
