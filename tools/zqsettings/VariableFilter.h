// Which variables a command is about: names and patterns, --prefix and --type.
#pragma once

#include "Command.h"
#include "VariableListing.h"

#include <string>
#include <vector>

namespace zq::tool {

struct VariableFilter {
    std::vector<std::string> names; // UTF-8, whole names or patterns; empty for all
    std::string prefix;             // UTF-8; every name begins with the empty one
    std::vector<std::string> types; // as VariableTypeName has them; empty for all

    bool Accepts(const Variable& variable) const;
    std::vector<Variable> Apply(std::vector<Variable> variables) const;
};

// Adds --prefix and --type to a command. `filter` must outlive the parse.
void AddFilterOptions(Command command, VariableFilter& filter);
// Adds --type.
void AddTypeOption(Command command, VariableFilter& filter, const char* help);
// Adds the names as positional arguments.
Option AddNames(Command command, VariableFilter& filter);

} // namespace zq::tool
