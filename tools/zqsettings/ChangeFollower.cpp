#include "ChangeFollower.h"

#include "ModuleSession.h"
#include "TimeText.h"

#include "config/ConfigFile.h"

#include <algorithm>

namespace zq::tool {

namespace {

// A default copy carries the old time of its file, which says nothing about the reload.
constexpr double kLongestReloadMilliseconds = 10'000;

} // namespace

ChangeFollower::ChangeFollower(const ModuleSession& session, const VariableFilter& filter,
                               const std::filesystem::path& folder, WatchReport& report)
    : m_session(session), m_filter(filter), m_folder(folder), m_report(report), m_known(Listing()) {}

std::vector<Variable> ChangeFollower::Listing() const {
    return m_filter.Apply(ListVariables(m_session.Variables()));
}

std::vector<VariableChange> ChangeFollower::TakeChanges(std::vector<Variable> now) {
    std::vector<VariableChange> changes = Difference(m_known, now);
    m_known = std::move(now);
    m_totals.changes += changes.size();
    return changes;
}

void ChangeFollower::OnVariableChanged(const wchar_t* name, uint32_t, CZQVariableHost* source) {
    ++m_totals.notices;
    // A reload may have changed others already, whose notice is yet to come.
    const std::vector<VariableChange> changes = TakeChanges(WithNames(m_known, Listing(), {name}));
    if (!changes.empty()) {
        m_report.OnChange(changes, source != nullptr);
    }
}

void ChangeFollower::OnVariablesReloaded() {
    const double milliseconds = MillisecondsSinceLastWrite(m_folder);
    ++m_totals.reloads;
    WatchedReload reload;
    reload.changes = TakeChanges(Listing());
    if (milliseconds < kLongestReloadMilliseconds) {
        reload.milliseconds = milliseconds;
    }
    m_report.OnReload(reload);
    // As a server does: the headset in use may be another one now.
    m_session.Settings().UpdateDefaultDeviceName();
}

} // namespace zq::tool
