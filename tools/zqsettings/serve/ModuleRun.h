// The module on one folder, from DoInit to its end, with what it reports.
#pragma once

#include "CZQVariableHost.h"

#include "ModuleSession.h"
#include "VariableListing.h"

#include <cstdint>
#include <functional>
#include <string>

namespace zq::tool {

class ModuleRun {
public:
    // Each is called on threads of the module and must not throw.
    struct Events {
        std::function<void(int32_t level, const std::string& tag, const std::string& text)> onLog;
        // A file was read again.
        std::function<void()> onReloaded;
        // A variable of this name was set by other means.
        std::function<void(const wchar_t* name)> onChanged;
    };

    // Runs DoInit and DoStart. Raises Failure.
    ModuleRun(const ModuleOptions& options, Events events);
    ~ModuleRun();
    ModuleRun(const ModuleRun&) = delete;
    ModuleRun& operator=(const ModuleRun&) = delete;

    CZQModSettings& Settings() const { return m_session.Settings(); }
    std::vector<Variable> Variables() const { return ListVariables(m_session.Variables()); }
    std::filesystem::path DataFolder() const { return m_session.DataFolder(); }

private:
    class LogHost final : public CZQModHost {
    public:
        explicit LogHost(const Events& events) : m_events(events) {}
        void Log(const wchar_t* tag, int32_t level, const wchar_t* format, va_list arguments) override;
        void OnConfigReloaded() override {}

    private:
        const Events& m_events;
    };

    class ChangeHost final : public CZQVariableHost {
    public:
        explicit ChangeHost(const Events& events) : m_events(events) {}
        void OnVariableChanged(const wchar_t* name, uint32_t, CZQVariableHost*) override {
            m_events.onChanged(name);
        }
        void OnVariablesReloaded() override { m_events.onReloaded(); }

    private:
        const Events& m_events;
    };

    const Events m_events;
    LogHost m_logHost{m_events};
    ChangeHost m_changeHost{m_events};
    ModuleSession m_session;
};

} // namespace zq::tool
