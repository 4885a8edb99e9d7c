#include "Text.h"

#include "check/Quote.h"

#include <system_error>

#include <windows.h>

namespace zq::tool {

namespace {

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
    return HexEscapeOf(unit);
}

std::string Escaped(std::wstring_view text, bool isBackslashDoubled) {
    std::wstring result;
    result.reserve(text.size());
    for (const wchar_t unit : text) {
        if (IsControlUnit(unit)) {
            result += EscapedControl(unit);
        } else if (unit == L'\\' && isBackslashDoubled) {
            result += L"\\\\";
        } else {
            result += unit;
        }
    }
    return Utf8FromWide(result);
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

std::string Visible(std::wstring_view text) { return Escaped(text, false); }

std::string Printable(std::wstring_view text) { return Escaped(text, true); }

std::string SystemErrorText(unsigned long error) {
    std::string text = std::system_category().message(static_cast<int>(error));
    text.erase(text.find_last_not_of(" .\r\n") + 1);
    return text + " (Windows error " + std::to_string(error) + ")";
}

std::string Counted(size_t count, const std::string& what) { return Counted(count, what, what + 's'); }

std::string Counted(size_t count, const std::string& one, const std::string& many) {
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

} // namespace zq::tool
