// The module's host callback object: hands each message on as a finished text.
//
// Called by the module from any of its threads, and so is `onMessage`.
#pragma once

#include "CZQModHost.h"

#include <functional>
#include <string>

namespace zq::tool {

// Formats a message in Microsoft's reading of a wide format: %s is a wide string, %hs a narrow one.
std::wstring FormatLogText(const wchar_t* format, va_list arguments);

struct ModuleMessage {
    int32_t level;
    std::string tag;
    std::string text; // UTF-8, as the module logged it
};

// "[2] ZQModSettings: DoInit begin", for one line of a console: control characters are shown as escapes.
std::string MessageText(const ModuleMessage& message);

class ConsoleHost final : public CZQModHost {
public:
    using OnMessage = std::function<void(const ModuleMessage&)>;

    // Where a message names the folder `copy`, `original` is put for it.
    ConsoleHost(OnMessage onMessage, std::wstring copy, std::wstring original)
        : m_onMessage(std::move(onMessage)), m_copy(std::move(copy)), m_original(std::move(original)) {}

    void Log(const wchar_t* tag, int32_t level, const wchar_t* format, va_list arguments) override;
    void OnConfigReloaded() override {}

private:
    OnMessage m_onMessage;
    std::wstring m_copy;
    std::wstring m_original;
};

} // namespace zq::tool
