// A registered host that finds out what changed at each notice of the module, and reports it.
//
// The callbacks come from the one thread that the module keeps for this host.
#pragma once

#include "CZQVariableHost.h"

#include "VariableFilter.h"
#include "WatchReport.h"

#include <filesystem>
#include <vector>

namespace zq::tool {

class ModuleSession;

class ChangeFollower final : public CZQVariableHost {
public:
    // The files of `folder` are those that people edit. All must outlive this object.
    ChangeFollower(const ModuleSession& session, const VariableFilter& filter,
                   const std::filesystem::path& folder, WatchReport& report);

    void OnVariableChanged(const wchar_t* name, uint32_t type, CZQVariableHost* source) override;
    void OnVariablesReloaded() override;

    // Those at the beginning.
    const std::vector<Variable>& Variables() const { return m_known; }
    // Once the host is unregistered.
    const WatchTotals& Totals() const { return m_totals; }

private:
    std::vector<Variable> Listing() const;
    std::vector<VariableChange> TakeChanges(std::vector<Variable> now);

    const ModuleSession& m_session;
    const VariableFilter& m_filter;
    const std::filesystem::path& m_folder;
    WatchReport& m_report;
    std::vector<Variable> m_known;
    WatchTotals m_totals;
};

} // namespace zq::tool
