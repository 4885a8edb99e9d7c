// Pieces of a document inside a message.
//
// Portable.
#pragma once

#include <string>
#include <string_view>

namespace zq {

std::string Utf8(std::wstring_view text);

// Whether a terminal would act on the unit instead of showing it.
constexpr bool IsControlUnit(wchar_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

// In quotes, shortened where it is long, control characters written as \u and four digits: a document can
// neither break a message nor steer a terminal.
std::string Quoted(std::wstring_view text);

// One unit as a JSON escape: \u and four digits.
std::wstring HexEscapeOf(wchar_t unit);

} // namespace zq
