// A look at the variables of a data folder that leaves the folder as it is: the module works on a copy.
#pragma once

#include "ModuleSession.h"
#include "VariableListing.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zq::tool {

// The variables of a folder, sorted; those of the default files for none. What the module would replace is
// reported on stderr. Raises Failure as ModuleSession does.
std::vector<Variable> LookAt(const ModuleOptions& options,
                             const std::optional<std::filesystem::path>& folder);

// What FindDataFolder finds; says on stderr when it finds none, so that the default files are read.
std::optional<std::filesystem::path> FindDataFolderOrDefaults(const std::string& data);

} // namespace zq::tool
