// The module's host callback object: prints each message as it comes, "[2] ZQModSettings: DoInit begin".
//
// Called by the module from any of its threads, so each line is written and flushed as a whole, under a
// mutex.
#pragma once

#include "CZQModHost.h"

#include <cstdio>
#include <functional>
#include <mutex>
#include <string>

namespace zq::tool {

// Formats a message in Microsoft's reading of a wide format: %s is a wide string, %hs a narrow one.
std::wstring FormatLogText(const wchar_t* format, va_list arguments);

class ConsoleHost final : public CZQModHost {
public:
    // Prints to `stream`, which stays open longer than this object.
    explicit ConsoleHost(std::FILE* stream) : m_stream(stream) {}

    // Runs on the watcher's thread behind each reload pass. To be set before the watcher is started.
    std::function<void()> onConfigReloaded;

    void Log(const wchar_t* tag, int32_t level, const wchar_t* format, va_list arguments) override;
    void OnConfigReloaded() override;

private:
    std::FILE* m_stream;
    std::mutex m_mutex;
};

} // namespace zq::tool
