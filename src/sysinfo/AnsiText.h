// Texts of the machine survey are kept in the ANSI code page and widened again to be logged or published.
#pragma once

#include "base/Text.h"

#include <string>
#include <string_view>

namespace zq {

inline std::string Narrow(std::wstring_view text) { return BytesFromWide(kCodePageAnsi, text); }

inline std::wstring Widen(std::string_view text) {
    return WideFromBytes(kCodePageAnsi, text.data(), static_cast<int32_t>(text.size()));
}

} // namespace zq
