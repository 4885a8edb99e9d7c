// What changed between two listings of the variables.
#pragma once

#include "VariableListing.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zq::tool {

// A whole number of a file is an integer and a double: where both changed from one number to another, that is
// one change with both types.
struct VariableChange {
    std::wstring name;
    std::vector<VariableType> types;
    std::optional<VariableValue> oldValue; // of the first type; none for a variable that is new
    std::optional<VariableValue> newValue; // none for one that is gone

    friend bool operator==(const VariableChange&, const VariableChange&) = default;
};

// Both sorted as ListVariables sorts; so is the result.
std::vector<VariableChange> Difference(const std::vector<Variable>& before,
                                       const std::vector<Variable>& after);

// `before`, but with the variables of these names as they are in `after`. What else has changed is left for a
// notice of its own. Both sorted as ListVariables sorts; so is the result.
std::vector<Variable> WithNames(const std::vector<Variable>& before, const std::vector<Variable>& after,
                                const std::set<std::wstring>& names);

// One line for a person: "Settings.CurrentBitrate (integer, double): 70 -> 100".
std::string ChangeText(const VariableChange& change);

} // namespace zq::tool
