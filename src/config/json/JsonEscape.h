// Which units of a text an escape takes, and what it stands for: the one place that knows the escapes of the
// JSON reader.
//
// Portable.
#pragma once

#include <algorithm>
#include <cstdint>

namespace zq {

inline constexpr int32_t kHexEscapeUnits = 6; // backslash, u, four digits

// The value of a hexadecimal digit, or -1.
constexpr int32_t HexDigit(wchar_t unit) {
    if (unit >= L'0' && unit <= L'9') {
        return unit - L'0';
    }
    if (unit >= L'a' && unit <= L'f') {
        return unit - L'a' + 10;
    }
    return unit >= L'A' && unit <= L'F' ? unit - L'A' + 10 : -1;
}

// How many units the escape at the front of `text` takes, of `left` up to the end of the whole text. One that
// the end cuts short takes all of them.
constexpr int32_t EscapeUnits(const wchar_t* text, int32_t left) {
    return left > 1 && text[1] == L'u' ? std::min(left, kHexEscapeUnits) : std::min(left, 2);
}

// The unit that a two-unit escape stands for. What is not known becomes a backslash, and its unit is lost.
constexpr wchar_t SimpleEscape(wchar_t unit) {
    switch (unit) {
    case L'"':
    case L'/':
        return unit;
    case L'n':
        return L'\n';
    case L'r':
        return L'\r';
    case L't':
        return L'\t';
    default:
        return L'\\';
    }
}

} // namespace zq
