// The inside of a text or name of a document, from its opening quote on, by the escapes of the JSON reader.
//
// Portable.
#pragma once

#include "config/json/JsonScalar.h"

#include <cstdint>
#include <string_view>

namespace zq {

// Calls onEscape(offset, units) for each escape and onUnit(offset) for every other unit. Returns whether a
// closing quote ends the token.
template <class OnEscape, class OnUnit>
bool WalkText(std::wstring_view text, int32_t begin, int32_t end, OnEscape onEscape, OnUnit onUnit) {
    for (int32_t offset = begin + 1; offset < end;) {
        const wchar_t unit = text[static_cast<size_t>(offset)];
        if (unit == L'"') {
            return true;
        }
        if (unit != L'\\') {
            onUnit(offset++);
            continue;
        }
        const int32_t units = EscapeUnits(text.data() + offset, static_cast<int32_t>(text.size()) - offset);
        onEscape(offset, units);
        offset += units;
    }
    return false;
}

inline bool IsClosedText(std::wstring_view text, int32_t begin, int32_t end) {
    return WalkText(
        text, begin, end, [](int32_t, int32_t) {}, [](int32_t) {});
}

} // namespace zq
