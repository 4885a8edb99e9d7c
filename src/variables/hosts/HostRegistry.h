// The registered hosts of one module object, in the order of their registration.
//
// Any thread may call. The host list mutex is held while agents are added, removed and handed changes, never
// while a host is called.
#pragma once

#include "platform/Mutex.h"
#include "variables/hosts/HostAgent.h"

#include <array>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace zq {

class HostRegistry {
public:
    // `storeMutex` is what callbacks lock when they read and write variables; it must outlive this object.
    explicit HostRegistry(const Mutex& storeMutex)
        : m_storeMutex(storeMutex), m_guards{&m_mutex, &storeMutex} {}

    // A host that is registered already stays registered once.
    void RegisterHost(CZQVariableHost* host);
    // Once this has returned the host is called no more. An unknown host changes nothing.
    void UnregisterHost(CZQVariableHost* host);
    // Unregisters all, in order, with the mutex held.
    void UnregisterAll();

    // Tells every host but `source`.
    void NotifyHosts(std::wstring_view name, uint32_t type, CZQVariableHost* source);
    void NotifyHostsReloaded();

    // What a thread of the module may hold when it has to be terminated: the mutex of this list, then that of
    // the store.
    std::span<const Mutex* const> TerminationGuards() const { return m_guards; }

private:
    using Agents = std::vector<std::unique_ptr<CZQVariableHostAgent>>;

    Agents::iterator Find(CZQVariableHost* host);

    Mutex m_mutex;
    const Mutex& m_storeMutex;
    std::array<const Mutex*, 2> m_guards;
    Agents m_agents;
};

} // namespace zq
