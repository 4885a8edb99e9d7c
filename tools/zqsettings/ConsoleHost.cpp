#include "ConsoleHost.h"

#include "Text.h"

#include <cwchar>

namespace zq::tool {

namespace {

constexpr size_t kUsualMessage = 512;
constexpr size_t kLongestMessage = size_t{1} << 24;

} // namespace

std::wstring FormatLogText(const wchar_t* format, va_list arguments) {
    // _vsnwprintf tells only that a text does not fit, not how much room it needs.
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

void ConsoleHost::Log(const wchar_t* tag, int32_t level, const wchar_t* format, va_list arguments) {
    const std::wstring text = FormatLogText(format, arguments);
    std::string line = "[";
    line += std::to_string(level) + "] " + Utf8FromWide(tag) + ": " + Utf8FromWide(text) + "\n";
    const std::lock_guard lock(m_mutex);
    std::fwrite(line.data(), 1, line.size(), m_stream);
    std::fflush(m_stream);
}

void ConsoleHost::OnConfigReloaded() {
    if (onConfigReloaded) {
        onConfigReloaded();
    }
}

} // namespace zq::tool
