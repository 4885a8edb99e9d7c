// A host callback object that keeps every message, formatted as the host's printf does it. Portable.
#pragma once

#include "CZQModHost.h"

#include <atomic>
#include <cstdarg>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zq::test {

struct LogLine {
    int level;
    std::wstring text;

    friend bool operator==(const LogLine&, const LogLine&) = default;
};

// Formats in Microsoft's reading: %s is a wide string, %hs a narrow one.
std::wstring FormatMessageText(const wchar_t* format, va_list arguments);

// "[2] text", in the console's code page as far as it goes: for failure messages.
std::string Printable(const LogLine& line);
inline void PrintTo(const LogLine& line, std::ostream* out);

class RecordingHost final : public CZQModHost {
public:
    void Log(const wchar_t* tag, int32_t level, const wchar_t* format, va_list arguments) override;
    void OnConfigReloaded() override;

    std::vector<LogLine> Lines() const;
    // How often a message with exactly this text was logged.
    int Count(const std::wstring& text) const;
    bool Has(const std::wstring& text) const { return Count(text) > 0; }
    int Reloads() const;
    void Clear();

    // Called for each message after it was kept, on the thread that logs, with no lock held.
    std::function<void(const LogLine&)> onLog;
    // Called in OnConfigReloaded, with no lock held.
    std::function<void()> onReloaded;

private:
    mutable std::mutex m_mutex;
    std::vector<LogLine> m_lines;
    int m_reloads = 0;
};

// A hook that runs `action` only the first time. What the action captures must outlive the module: a host is
// called up to its end.
template <class Action>
auto Once(Action action) {
    return [action, isDone = std::make_shared<std::atomic<bool>>(false)](auto&&...) {
        if (!isDone->exchange(true)) {
            action();
        }
    };
}

} // namespace zq::test

#include <ostream>

inline void zq::test::PrintTo(const LogLine& line, std::ostream* out) { *out << Printable(line); }
