#include "check/Quote.h"

#include "base/Text.h"

#include <cstdint>

namespace zq {

std::string Utf8(std::wstring_view text) { return BytesFromWide(kCodePageUtf8, text); }

std::wstring HexEscapeOf(wchar_t unit) {
    constexpr std::wstring_view kDigits = L"0123456789ABCDEF";
    std::wstring escape = L"\\u";
    for (int shift = 12; shift >= 0; shift -= 4) {
        escape += kDigits[(static_cast<uint32_t>(unit) >> shift) & 0xF];
    }
    return escape;
}

std::string Quoted(std::wstring_view text) {
    constexpr size_t kLongest = 60;
    std::wstring result = L"\"";
    for (const wchar_t unit : text.substr(0, kLongest)) {
        if (IsControlUnit(unit)) {
            result += HexEscapeOf(unit);
        } else {
            result += unit;
        }
    }
    result += text.size() > kLongest ? L"...\"" : L"\"";
    return Utf8(result);
}

} // namespace zq
