#include "ConsoleHost.h"

#include "Text.h"

#include <cwchar>

namespace zq::tool {

namespace {

constexpr size_t kUsualMessage = 512;
constexpr size_t kLongestMessage = size_t{1} << 24;

} // namespace

std::wstring FormatLogText(const wchar_t* format, va_list arguments) {
    // _vsnwprintf reports only that a text does not fit, not how much room it needs.
    for (size_t size = kUsualMessage; size <= kLongestMessage; size *= 2) {
        std::wstring buffer(size, L'\0');
        va_list copy;
        va_copy(copy, arguments);
        const int length = _vsnwprintf(buffer.data(), buffer.size(), format, copy);
        va_end(copy);
        if (length >= 0) {
            buffer.resize(static_cast<size_t>(length));
            return buffer;
        }
    }
    return format;
}

std::string MessageText(const ModuleMessage& message) {
    return '[' + std::to_string(message.level) + "] " + message.tag + ": " +
           Visible(WideFromUtf8(message.text));
}

void ConsoleHost::Log(const wchar_t* tag, int32_t level, const wchar_t* format, va_list arguments) {
    std::wstring text = FormatLogText(format, arguments);
    if (!m_copy.empty()) {
        for (size_t offset = text.find(m_copy); offset != std::wstring::npos;
             offset = text.find(m_copy, offset + m_original.size())) {
            text.replace(offset, m_copy.size(), m_original);
        }
    }
    m_onMessage({level, Utf8FromWide(tag), Utf8FromWide(text)});
}

} // namespace zq::tool
