// What changed between two listings of the variables.
#pragma once

#include "VariableListing.h"

#include <string>
#include <vector>

namespace zq::tool {

struct VariableChange {
    std::wstring name;
    VariableType type;
    std::string oldValue; // as ValueText prints it; empty for a variable that is new
    std::string newValue; // empty for one that is gone

    friend bool operator==(const VariableChange&, const VariableChange&) = default;
};

// Both sorted as ListVariables sorts; so is the result.
std::vector<VariableChange> Difference(const std::vector<Variable>& before,
                                       const std::vector<Variable>& after);

// One line for a person: "Settings.CurrentBitrate (integer): 70 -> 100".
std::string ChangeText(const VariableChange& change);

} // namespace zq::tool
