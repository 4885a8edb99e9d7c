// Names of variables as a command line gives them: whole, or with "*" for any characters, points included,
// and "?" for one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zq::tool {

bool IsPattern(std::string_view name);

// Letter case counts.
bool MatchesPattern(std::wstring_view name, std::wstring_view pattern);

// Whether one of the patterns, UTF-8, matches.
bool MatchesAny(std::wstring_view name, const std::vector<std::string>& patterns);

} // namespace zq::tool
