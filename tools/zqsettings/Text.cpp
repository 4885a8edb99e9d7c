#include "Text.h"

#include <windows.h>

namespace zq::tool {

namespace {

bool IsControl(wchar_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

std::wstring EscapedControl(wchar_t unit) {
    switch (unit) {
    case L'\n':
        return L"\\n";
    case L'\r':
        return L"\\r";
    case L'\t':
        return L"\\t";
    default:
        break;
    }
    constexpr std::wstring_view kDigits = L"0123456789ABCDEF";
    return {L'\\', L'u', L'0', L'0', kDigits[(unit >> 4) & 0xF], kDigits[unit & 0xF]};
}

} // namespace

std::string Utf8FromWide(std::wstring_view text) {
    const int units = static_cast<int>(text.size());
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), units, result.data(), bytes, nullptr, nullptr);
    return result;
}

std::wstring WideFromUtf8(std::string_view text) {
    const int bytes = static_cast<int>(text.size());
    const int units = MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0);
    std::wstring result(static_cast<size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, result.data(), units);
    return result;
}

std::string Utf8FromPath(const std::filesystem::path& path) { return Utf8FromWide(path.native()); }

std::string Printable(std::wstring_view text) {
    std::wstring result;
    result.reserve(text.size());
    for (const wchar_t unit : text) {
        if (IsControl(unit)) {
            result += EscapedControl(unit);
        } else if (unit == L'\\') {
            result += L"\\\\";
        } else {
            result += unit;
        }
    }
    return Utf8FromWide(result);
}

} // namespace zq::tool
