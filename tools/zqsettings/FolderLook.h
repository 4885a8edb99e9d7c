// A look at the variables of a data folder that leaves the folder as it is: the module works on a copy, so a
// file that it would replace stays where it is.
#pragma once

#include "ModuleSession.h"
#include "VariableListing.h"

#include <string>
#include <vector>

namespace zq::tool {

// Adds --data, --defaults and --dll to a command that only looks. `options` must outlive the parse.
void AddLookOptions(CLI::App& command, ModuleOptions& options);

// All variables, sorted; those of the default files where --data is empty. What the module would replace is
// told in a sentence on stderr. Raises Failure as ModuleSession does.
std::vector<Variable> LookAt(const ModuleOptions& options);

// The names of variables that a mistyped one may stand for, best first.
std::vector<std::wstring> NearestVariables(const std::vector<Variable>& variables, const std::string& name,
                                           size_t count);

} // namespace zq::tool
