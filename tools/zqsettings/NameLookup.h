// Names of variables that a command line gives and that are not there.
#pragma once

#include "VariableFilter.h"
#include "VariableListing.h"

#include <string>
#include <vector>

namespace zq::tool {

// Raises Failure with the nearest names unless each name and pattern of the filter finds a variable of its
// types.
void RequireKnown(const VariableFilter& filter, const std::vector<Variable>& variables);

} // namespace zq::tool
