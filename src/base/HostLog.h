// The only way in which a message of the module reaches the host: unformatted, through slot 1 of its callback
// object.
//
// Portable. Any thread may log; the host is set once, before any other thread of the module exists.
#pragma once

#include <cstdint>

class CZQModHost;

namespace zq {

enum LogLevel : int32_t { LogNotable = 1, LogProgress = 2, LogWarning = 3, LogFailure = 4 };

class HostLog {
public:
    // `host` is not owned and may be null; messages are then dropped.
    void SetHost(CZQModHost* host) { m_pHost = host; }
    CZQModHost* Host() const { return m_pHost; }

    // `format` is a wide printf format as Microsoft defines it: %s takes a wide string, %hs a narrow one.
    void Log(LogLevel level, const wchar_t* format, ...) const;

private:
    CZQModHost* m_pHost = nullptr;
};

} // namespace zq
