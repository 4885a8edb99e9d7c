#include "support/RecordingHost.h"

#include <algorithm>
#include <cwchar>

namespace zq::test {

namespace {

constexpr size_t kLongestMessage = 64 * 1024;

} // namespace

std::wstring FormatMessageText(const wchar_t* format, va_list arguments) {
    std::wstring buffer(kLongestMessage, L'\0');
#ifdef _WIN32
    const int length = _vsnwprintf(buffer.data(), buffer.size(), format, arguments);
#else
    std::wstring translated;
    for (const wchar_t* c = format; *c; ++c) {
        translated += *c;
        if (*c == L'%' && c[1] == L's') {
            translated += L'l';
        } else if (*c == L'%' && c[1] == L'h') {
            ++c;
        }
    }
    const int length = std::vswprintf(buffer.data(), buffer.size(), translated.c_str(), arguments);
#endif
    buffer.resize(length < 0 ? buffer.size() : static_cast<size_t>(length));
    return buffer;
}

std::string Printable(const LogLine& line) {
    std::string text = "[";
    text += std::to_string(line.level);
    text += "] ";
    for (const wchar_t c : line.text) {
        text += c >= 32 && c < 127 ? static_cast<char>(c) : '?';
    }
    return text;
}

void RecordingHost::Log(const wchar_t* tag, int32_t level, const wchar_t* format, va_list arguments) {
    LogLine line{level, FormatMessageText(format, arguments)};
    if (std::wcscmp(tag, L"ZQModSettings") != 0) {
        line.text = std::wstring(L"wrong tag: ") + tag;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_lines.push_back(line);
    }
    if (onLog) {
        onLog(line);
    }
}

void RecordingHost::OnConfigReloaded() {
    {
        const std::lock_guard lock(m_mutex);
        ++m_reloads;
    }
    if (onReloaded) {
        onReloaded();
    }
}

std::vector<LogLine> RecordingHost::Lines() const {
    const std::lock_guard lock(m_mutex);
    return m_lines;
}

int RecordingHost::Count(const std::wstring& text) const {
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(std::count_if(m_lines.begin(), m_lines.end(),
                                          [&](const LogLine& line) { return line.text == text; }));
}

int RecordingHost::Reloads() const {
    const std::lock_guard lock(m_mutex);
    return m_reloads;
}

void RecordingHost::Clear() {
    const std::lock_guard lock(m_mutex);
    m_lines.clear();
    m_reloads = 0;
}

} // namespace zq::test
