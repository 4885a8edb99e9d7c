#include "base/HostLog.h"

#include "CZQModHost.h"

#include <cstdarg>

namespace zq {

void HostLog::Log(LogLevel level, const wchar_t* format, ...) const {
    if (!m_pHost) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    m_pHost->Log(L"ZQModSettings", level, format, arguments);
    va_end(arguments);
}

} // namespace zq
