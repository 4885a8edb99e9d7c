// ASCII letters and digits, and comparison of names that ignores the case of ASCII letters only.
//
// Portable.
#pragma once

#include <algorithm>
#include <string_view>

namespace zq {

constexpr bool IsAsciiLetter(wchar_t unit) {
    return (unit >= L'A' && unit <= L'Z') || (unit >= L'a' && unit <= L'z');
}

constexpr bool IsAsciiDigit(wchar_t unit) { return unit >= L'0' && unit <= L'9'; }

// Also false for an empty text.
constexpr bool IsAsciiNumber(std::wstring_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), IsAsciiDigit);
}

constexpr wchar_t AsciiLower(wchar_t unit) {
    return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit - L'A' + L'a') : unit;
}

inline bool EqualsIgnoringAsciiCase(std::wstring_view a, std::wstring_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](wchar_t x, wchar_t y) { return AsciiLower(x) == AsciiLower(y); });
}

} // namespace zq
