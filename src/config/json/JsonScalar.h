// The tokens of the JSON reader that are no containers: strings with their escapes, numbers, literals.
//
// Portable.
#pragma once

#include "config/json/JsonValue.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

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
template <class Unit>
constexpr int32_t EscapeUnits(const Unit* text, int32_t left) {
    return left > 1 && text[1] == 'u' ? std::min(left, kHexEscapeUnits) : std::min(left, 2);
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

// Each of these is called at the first unit of its token with the units that remain, and returns the units
// consumed or -1.

// Skips the first unit without looking at it and reads up to the closing quote, or to the end of the text.
// The result points into `text`, or into `arena` where an escape changed it. -1 where no quote follows at
// all.
int32_t ParseJsonString(std::wstring_view& result, Arena& arena, const wchar_t* text, int32_t length);
int32_t ParseJsonNumber(JsonValue& value, const wchar_t* text, int32_t length);
int32_t ParseJsonLiteral(JsonValue& value, const wchar_t* text, int32_t length);

// The same of bytes that are one character each: `table` has the 256 characters. The result of a string is in
// `arena`.
struct JsonBytes {
    const unsigned char* text;
    int32_t length;
    const wchar_t* table;
};
int32_t ParseJsonString(std::wstring_view& result, Arena& arena, const JsonBytes& bytes);
int32_t ParseJsonNumber(JsonValue& value, const JsonBytes& bytes);
int32_t ParseJsonLiteral(JsonValue& value, const JsonBytes& bytes);

} // namespace zq
