#include "variables/hosts/HostRegistry.h"

#include <algorithm>
#include <utility>

namespace zq {

HostRegistry::Agents::const_iterator HostRegistry::Find(const Agents& agents, CZQVariableHost* host) {
    return std::find_if(agents.begin(), agents.end(),
                        [host](const Agent& agent) { return agent->Host() == host; });
}

// Null when no agent of this host is leaving. The delivery thread of a leaving agent cannot wait for itself.
HostRegistry::Agent HostRegistry::LeavingAgentToWaitFor(CZQVariableHost* host, bool& isOwnThread) {
    ForgetGoneAgents();
    const auto found = Find(m_leaving, host);
    if (found == m_leaving.end()) {
        return nullptr;
    }
    isOwnThread = (*found)->IsCurrentThread();
    return *found;
}

// An agent whose thread stopped itself has nobody else to remove it.
void HostRegistry::ForgetGoneAgents() {
    std::erase_if(m_leaving, [](const Agent& agent) { return agent->IsGone(); });
}

void HostRegistry::RegisterHost(CZQVariableHost* host) {
    for (;;) {
        Agent leaving;
        {
            MutexLock lock(m_mutex);
            bool isOwnThread = false;
            leaving = LeavingAgentToWaitFor(host, isOwnThread);
            if (isOwnThread || Find(m_agents, host) != m_agents.end()) {
                return;
            }
            if (!leaving) {
                m_agents.push_back(std::make_shared<CZQVariableHostAgent>(host, m_guards));
                m_agents.back()->Start();
                return;
            }
        }
        leaving->WaitUntilStopped();
    }
}

void HostRegistry::UnregisterHost(CZQVariableHost* host) {
    Agent leaving;
    CZQVariableHostAgent* mine = nullptr;
    {
        MutexLock lock(m_mutex);
        bool isOwnThread = false;
        leaving = LeavingAgentToWaitFor(host, isOwnThread);
        const auto found = Find(m_agents, host);
        if (isOwnThread || (!leaving && found == m_agents.end())) {
            return;
        }
        if (!leaving) {
            mine = found->get();
            m_leaving.push_back(*found);
            m_agents.erase(found);
        }
    }
    if (leaving) {
        leaving->WaitUntilStopped();
        return;
    }
    // Stopped without the lock: a running callback may come back for the list. The list of leaving agents
    // owns it, so that a thread that stops itself takes nothing with it.
    mine->Stop();
    MutexLock lock(m_mutex);
    ForgetGoneAgents();
}

void HostRegistry::UnregisterAll() {
    MutexLock lock(m_mutex);
    for (Agent& agent : m_agents) {
        agent.reset();
    }
    m_agents = Agents();
    m_leaving = Agents();
}

void HostRegistry::NotifyHosts(std::wstring_view name, uint32_t type, CZQVariableHost* source) {
    MutexLock lock(m_mutex);
    if (m_agents.empty()) {
        return;
    }
    const auto shared = std::make_shared<const std::wstring>(name);
    for (const Agent& agent : m_agents) {
        agent->Enqueue(shared, type, source);
    }
}

void HostRegistry::NotifyHostsReloaded() {
    MutexLock lock(m_mutex);
    for (const Agent& agent : m_agents) {
        agent->EnqueueReload();
    }
}

} // namespace zq
