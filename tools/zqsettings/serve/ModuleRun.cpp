#include "serve/ModuleRun.h"

#include "ConsoleHost.h"
#include "Text.h"

#include <utility>

namespace zq::tool {

ModuleRun::ModuleRun(const ModuleOptions& options, Events events)
    : m_events(std::move(events)), m_session(options, m_logHost) {
    m_session.Variables().RegisterHost(&m_changeHost);
    m_session.Settings().DoStart();
}

ModuleRun::~ModuleRun() {
    m_session.Settings().DoStop();
    m_session.Variables().UnregisterHost(&m_changeHost);
    m_session.Settings().DoRelease();
    m_session.End();
}

void ModuleRun::LogHost::Log(const wchar_t* tag, int32_t level, const wchar_t* format, va_list arguments) {
    m_events.onLog(level, Utf8FromWide(tag), Utf8FromWide(FormatLogText(format, arguments)));
}

} // namespace zq::tool
