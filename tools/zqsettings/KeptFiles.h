// The copies of configuration files in the sub-folders "kept" and "rejected" of a data folder. Only names of
// the module's own form count: "<file name>.20260102T030405.678Z".
#pragma once

#include "config/ConfigFile.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace zq::tool {

struct KeptName {
    std::wstring name;
    std::wstring folder; // "kept" or "rejected"
    ConfigFile file;
};

struct KeptFile : KeptName {
    std::string bytes;
    bool isAccepted; // the module would load it
};

// The newest first. A sub-folder or file that is a link counts as absent.
std::vector<KeptName> KeptNamesOf(const std::filesystem::path& folder);

// The same with their content. Raises Failure for a file that cannot be read.
std::vector<KeptFile> KeptFilesOf(const std::filesystem::path& folder);

// Whether it is the copy of that name, or a copy of the file of that name.
bool IsNamed(const KeptFile& file, std::wstring_view name);

} // namespace zq::tool
