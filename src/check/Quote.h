// Pieces of a document inside a message.
//
// Portable.
#pragma once

#include <string>
#include <string_view>

namespace zq {

std::string Utf8(std::wstring_view text);

// Whether a terminal would act on the unit instead of showing it: the control characters, and what reorders
// or hides the text around it (line separators, marks and overrides of direction, zero-width characters).
constexpr bool IsControlUnit(wchar_t unit) {
    const bool isReordering = (unit >= 0x200B && unit <= 0x200F) || (unit >= 0x2028 && unit <= 0x202E) ||
                              (unit >= 0x2066 && unit <= 0x2069) || unit == 0xFEFF;
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || isReordering;
}

// In quotes, shortened where it is long, control characters written as \u and four digits: a document can
// neither break a message nor steer a terminal.
std::string Quoted(std::wstring_view text);

// One unit as a JSON escape: \u and four digits.
std::wstring HexEscapeOf(wchar_t unit);

} // namespace zq
