// The names of the module's temporary files: "<name>.<16 hexadecimal digits>.zqtmp". The folder watcher
// ignores notices about them.
//
// Portable.
#pragma once

#include "base/AsciiCase.h"

#include <algorithm>
#include <string_view>

namespace zq {

inline constexpr std::wstring_view kTemporarySuffix = L".zqtmp";
inline constexpr size_t kTemporaryDigits = 16;

inline bool IsTemporaryName(std::wstring_view name) {
    if (!name.ends_with(kTemporarySuffix)) {
        return false;
    }
    name.remove_suffix(kTemporarySuffix.size());
    if (name.size() < kTemporaryDigits + 2 || name[name.size() - kTemporaryDigits - 1] != L'.') {
        return false;
    }
    const std::wstring_view digits = name.substr(name.size() - kTemporaryDigits);
    return std::all_of(digits.begin(), digits.end(),
                       [](wchar_t c) { return IsAsciiDigit(c) || (c >= L'a' && c <= L'f'); });
}

} // namespace zq
