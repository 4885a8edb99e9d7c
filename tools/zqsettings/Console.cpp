#include "Console.h"

#include "Text.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>

#include <io.h>
#include <windows.h>

namespace zq::tool {

namespace {

// More than a screen, and less than the consoles of old systems take at once.
constexpr size_t kMostUnitsAtOnce = 30'000;

// The library hands handles out as numbers.
HANDLE HandleOf(std::FILE* stream) {
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))); // NOLINT(performance-no-int-to-ptr)
}

bool IsHighSurrogate(wchar_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }

void WriteToConsole(HANDLE console, std::wstring_view text) {
    while (!text.empty()) {
        size_t units = std::min(text.size(), kMostUnitsAtOnce);
        units -= units < text.size() && IsHighSurrogate(text[units - 1]) ? 1 : 0;
        DWORD written = 0;
        if (!WriteConsoleW(console, text.data(), static_cast<DWORD>(units), &written, nullptr) ||
            written == 0) {
            return;
        }
        text.remove_prefix(std::min<size_t>(written, text.size()));
    }
}

std::atomic<DWORD> g_outputError{ERROR_SUCCESS};
std::atomic<bool> g_hasOutputFailed{false};

void KeepOutputError(DWORD error) {
    g_hasOutputFailed = true;
    const bool isReaderGone = error == ERROR_NO_DATA || error == ERROR_BROKEN_PIPE;
    if (!isReaderGone && error != ERROR_INVALID_HANDLE) {
        DWORD none = ERROR_SUCCESS;
        g_outputError.compare_exchange_strong(none, error);
    }
}

// A console whose mode was changed, until the program ends.
class ChangedMode {
public:
    ChangedMode(HANDLE console, DWORD mode) : m_console(console), m_mode(mode) {}
    ~ChangedMode() { SetConsoleMode(m_console, m_mode); }
    ChangedMode(const ChangedMode&) = delete;
    ChangedMode& operator=(const ChangedMode&) = delete;

private:
    HANDLE m_console;
    DWORD m_mode;
};

bool CanShowColours(HANDLE console) {
    DWORD mode = 0;
    if (!GetConsoleMode(console, &mode)) {
        return false;
    }
    if ((mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0) {
        return true;
    }
    if (!SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING)) {
        return false;
    }
    static const ChangedMode putBack(console, mode);
    return true;
}

} // namespace

bool IsConsole(std::FILE* stream) {
    DWORD mode = 0;
    return _isatty(_fileno(stream)) != 0 && GetConsoleMode(HandleOf(stream), &mode) != 0;
}

void PrintText(std::FILE* stream, std::string_view text) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    if (IsConsole(stream)) {
        std::fflush(stream);
        WriteToConsole(HandleOf(stream), WideFromUtf8(text));
    } else {
        const bool isWritten =
            std::fwrite(text.data(), 1, text.size(), stream) == text.size() && std::fflush(stream) == 0;
        if (!isWritten && stream == stdout) {
            KeepOutputError(GetLastError());
            std::clearerr(stream);
        }
    }
}

bool HasOutputFailed() { return g_hasOutputFailed; }

unsigned long TakeOutputError() {
    g_hasOutputFailed = false;
    return g_outputError.exchange(ERROR_SUCCESS);
}

void Print(std::string_view text) { PrintText(stdout, text); }

void PrintNote(const std::string& text) {
    PrintText(stderr, "zqsettings: note: " + Visible(WideFromUtf8(text)) + ".\n");
}

void PrintFailure(const std::string& text) {
    const char* const end = text.ends_with('?') ? "\n" : ".\n";
    PrintText(stderr, "zqsettings: " + Visible(WideFromUtf8(text)) + end);
}

bool WantsColour(const std::string& choice, std::FILE* stream) {
    if (choice != "auto") {
        return choice == "always";
    }
    return IsConsole(stream) && !std::getenv("NO_COLOR") && CanShowColours(HandleOf(stream));
}

} // namespace zq::tool
