// A registered host that prints what it is told: each reload with the variables it changed, each notice of a
// change.
//
// The callbacks come from the one thread that the module keeps for this host.
#pragma once

#include "CZQVariableHost.h"

#include "VariableListing.h"

#include <atomic>
#include <chrono>
#include <string>
#include <vector>

namespace zq::tool {

class ModuleSession;

class ChangePrinter final : public CZQVariableHost {
public:
    // `session` must outlive this object.
    explicit ChangePrinter(const ModuleSession& session);

    void OnVariableChanged(const wchar_t* name, uint32_t type, CZQVariableHost* source) override;
    void OnVariablesReloaded() override;

    // "2 reloads, 3 variables changed, 1 notice of a change.", once the host is unregistered.
    std::string Summary() const;

private:
    const ModuleSession& m_session;
    std::vector<Variable> m_known;
    // When this program itself last set something, to tell how long the notice took.
    std::chrono::steady_clock::time_point m_lastChange;
    int m_reloads = 0;
    size_t m_changes = 0;
    int m_notices = 0;
};

} // namespace zq::tool
