// Which variables a command is about: --prefix and --type.
#pragma once

#include "VariableListing.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace zq::tool {

struct VariableFilter {
    std::string prefix;              // UTF-8; every name begins with the empty one
    std::vector<VariableType> types; // empty for all

    bool Accepts(const Variable& variable) const;
    std::vector<Variable> Apply(std::vector<Variable> variables) const;
};

// Adds --prefix and --type to a command. `filter` must outlive the parse.
void AddFilterOptions(CLI::App& command, VariableFilter& filter);

} // namespace zq::tool
