// ASCII letters, and comparison of names that ignores their case and that of no others.
//
// Portable.
#pragma once

#include <algorithm>
#include <string_view>

namespace zq {

constexpr bool IsAsciiLetter(wchar_t unit) {
    return (unit >= L'A' && unit <= L'Z') || (unit >= L'a' && unit <= L'z');
}

constexpr wchar_t AsciiLower(wchar_t unit) {
    return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit - L'A' + L'a') : unit;
}

inline bool EqualsIgnoringAsciiCase(std::wstring_view a, std::wstring_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](wchar_t x, wchar_t y) { return AsciiLower(x) == AsciiLower(y); });
}

} // namespace zq
