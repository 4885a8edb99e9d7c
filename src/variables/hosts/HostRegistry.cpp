#include "variables/hosts/HostRegistry.h"

#include <algorithm>
#include <utility>

namespace zq {

HostRegistry::Agents::iterator HostRegistry::Find(CZQVariableHost* host) {
    return std::find_if(m_agents.begin(), m_agents.end(),
                        [host](const auto& agent) { return agent->Host() == host; });
}

void HostRegistry::RegisterHost(CZQVariableHost* host) {
    MutexLock lock(m_mutex);
    if (Find(host) != m_agents.end()) {
        return;
    }
    m_agents.push_back(std::make_unique<CZQVariableHostAgent>(host, m_mutex, m_storeMutex));
    m_agents.back()->Start();
}

void HostRegistry::UnregisterHost(CZQVariableHost* host) {
    // Destroyed, and so stopped, behind the lock: a callback under way may come back for the list.
    std::unique_ptr<CZQVariableHostAgent> agent;
    {
        MutexLock lock(m_mutex);
        const auto found = Find(host);
        if (found == m_agents.end()) {
            return;
        }
        agent = std::move(*found);
        m_agents.erase(found);
    }
}

void HostRegistry::UnregisterAll() {
    MutexLock lock(m_mutex);
    for (auto& agent : m_agents) {
        agent.reset();
    }
    m_agents = Agents();
}

void HostRegistry::NotifyHosts(std::wstring_view name, uint32_t type, CZQVariableHost* source) {
    MutexLock lock(m_mutex);
    for (const auto& agent : m_agents) {
        agent->Enqueue(name, type, source);
    }
}

void HostRegistry::NotifyHostsReloaded() {
    MutexLock lock(m_mutex);
    for (const auto& agent : m_agents) {
        agent->EnqueueReload();
    }
}

} // namespace zq
