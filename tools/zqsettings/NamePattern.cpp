#include "NamePattern.h"

#include "Text.h"

#include <algorithm>

namespace zq::tool {

bool IsPattern(std::string_view name) { return name.find_first_of("*?") != std::string_view::npos; }

// Greedy with one point of return, the last "*": linear for names as they are.
bool MatchesPattern(std::wstring_view name, std::wstring_view pattern) {
    size_t at = 0;
    size_t inPattern = 0;
    size_t star = std::wstring_view::npos;
    size_t afterStar = 0;
    while (at < name.size()) {
        if (inPattern < pattern.size() && pattern[inPattern] == L'*') {
            star = inPattern++;
            afterStar = at;
        } else if (inPattern < pattern.size() &&
                   (pattern[inPattern] == L'?' || pattern[inPattern] == name[at])) {
            ++inPattern;
            ++at;
        } else if (star != std::wstring_view::npos) {
            inPattern = star + 1;
            at = ++afterStar;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(L'*', inPattern) == std::wstring_view::npos;
}

bool MatchesAny(std::wstring_view name, const std::vector<std::string>& patterns) {
    return std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
        return MatchesPattern(name, WideFromUtf8(pattern));
    });
}

} // namespace zq::tool
