// What the schemas say of variables, as text and as JSON.
#pragma once

#include "VariableListing.h"

#include "check/KeyDescription.h"

#include <string>
#include <vector>

namespace zq::tool {

// Name, meaning, type, range, default and the file that sets it, a line each.
std::string DescriptionText(const std::wstring& name, const KeyDescription& description);

// An array with an object for each name; one that is not described has its name only.
std::string DescriptionsJson(const std::vector<std::wstring>& names);

// The table of variables with what each is, below it.
std::string LongTableText(const std::vector<Variable>& variables);

} // namespace zq::tool
