#include "variables/hosts/HostAgent.h"

#include <utility>

namespace zq {

CZQVariableHostAgent::CZQVariableHostAgent(CZQVariableHost* host, std::span<const Mutex* const> guards)
    : m_pHost(host), m_guards(guards.begin(), guards.end()) {
    m_guards.push_back(&m_queueMutex);
}

CZQVariableHostAgent::~CZQVariableHostAgent() { Stop(); }

void CZQVariableHostAgent::Start() {
    m_hStopEvent.Reset();
    m_hThread.Start(ThreadRoutine, this, {m_hStopEvent.Get(), m_hWakeEvent.Get()});
}

void CZQVariableHostAgent::Stop() {
    if (!m_hThread.EndsAfter(m_hStopEvent.Get())) {
        // A thread that stops itself does not come back to say so.
        if (IsCurrentThread()) {
            m_stopped.Set();
        }
        m_hThread.Terminate(m_guards);
    }
    m_stopped.Set();
}

void CZQVariableHostAgent::Enqueue(const std::shared_ptr<const std::wstring>& name, uint32_t type,
                                   CZQVariableHost* source) {
    if (source != nullptr && source == m_pHost) {
        return;
    }
    Append({name, type, source});
}

void CZQVariableHostAgent::EnqueueReload() { Append({nullptr, VariableTypeNone, nullptr}); }

// The thread takes everything that is queued at once, so only the first record of a batch has to wake it.
void CZQVariableHostAgent::Append(CHANGE_EVENT event) {
    bool wasEmpty = false;
    {
        MutexLock lock(m_queueMutex);
        wasEmpty = m_queue.empty();
        m_queue.push_back(std::move(event));
    }
    if (wasEmpty) {
        m_hWakeEvent.Set();
    }
}

DWORD WINAPI CZQVariableHostAgent::ThreadRoutine(void* agent) {
    static_cast<CZQVariableHostAgent*>(agent)->DeliverUntilStopped();
    return 0;
}

void CZQVariableHostAgent::DeliverUntilStopped() {
    const HANDLE handles[] = {m_hStopEvent.Get(), m_hWakeEvent.Get()};
    while (WaitForMultipleObjects(2, handles, FALSE, INFINITE) != WAIT_OBJECT_0) {
        std::vector<CHANGE_EVENT> batch;
        {
            MutexLock lock(m_queueMutex);
            batch.swap(m_queue);
        }
        for (const CHANGE_EVENT& event : batch) {
            Deliver(event);
        }
    }
}

void CZQVariableHostAgent::Deliver(const CHANGE_EVENT& event) {
    if (!m_pHost) {
        return;
    }
    if (event.type == VariableTypeNone) {
        m_pHost->OnVariablesReloaded();
    } else {
        m_pHost->OnVariableChanged(event.name->c_str(), event.type, event.source);
    }
}

} // namespace zq
