// The registered hosts of one module object, in the order of their registration.
//
// Any thread may call. The host list mutex is held while agents are added, removed and handed changes, never
// while a host is called or waited for. An agent that is leaving is out of the list at once and is remembered
// beside it until its thread has ended, so that one host never has two threads: whoever registers or
// unregisters that host meanwhile waits for the end of the first one. Setters never wait for it.
#pragma once

#include "platform/Mutex.h"
#include "variables/hosts/HostAgent.h"

#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace zq {

class HostRegistry {
public:
    // `guards` are the mutexes of the module that a callback may hold: see CZQVariableHostAgent. Both must
    // outlive this object.
    HostRegistry(const Mutex& listMutex, std::span<const Mutex* const> guards)
        : m_mutex(listMutex), m_guards(guards) {}

    // A host that is registered already stays registered once. From a callback of a host that is being
    // unregistered it does nothing.
    void RegisterHost(CZQVariableHost* host);
    // Once this has returned, the host is not called any more; from a callback of a host that is being
    // unregistered on another thread, it returns at once. An unknown host changes nothing.
    void UnregisterHost(CZQVariableHost* host);
    // Unregisters all, in order, with the mutex held.
    void UnregisterAll();

    // Notifies every host but `source`.
    void NotifyHosts(std::wstring_view name, uint32_t type, CZQVariableHost* source);
    void NotifyHostsReloaded();

private:
    using Agent = std::shared_ptr<CZQVariableHostAgent>;
    using Agents = std::vector<Agent>;

    static Agents::const_iterator Find(const Agents& agents, CZQVariableHost* host);
    Agent LeavingAgentToWaitFor(CZQVariableHost* host, bool& isOwnThread) ZQ_REQUIRES(m_mutex);
    void ForgetGoneAgents() ZQ_REQUIRES(m_mutex);

    const Mutex& m_mutex;
    std::span<const Mutex* const> m_guards;
    Agents m_agents ZQ_GUARDED_BY(m_mutex);
    Agents m_leaving ZQ_GUARDED_BY(m_mutex);
};

} // namespace zq
