// One registered host: its queue of changes and the thread that delivers them.
//
// Queueing is done by any thread and never waits for the host. Delivery is in the order of queueing, with no
// lock held.
#pragma once

#include "platform/Event.h"
#include "platform/Mutex.h"
#include "platform/Thread.h"
#include "variables/hosts/ChangeEvent.h"

#include <array>
#include <string_view>
#include <vector>

namespace zq {

class CZQVariableHostAgent {
public:
    // `host` is not owned. The mutexes are those that the delivery thread may hold inside a callback: see
    // Thread::Stop. They must outlive the agent.
    CZQVariableHostAgent(CZQVariableHost* host, const Mutex& listMutex, const Mutex& storeMutex);
    virtual ~CZQVariableHostAgent();
    CZQVariableHostAgent(const CZQVariableHostAgent&) = delete;
    CZQVariableHostAgent& operator=(const CZQVariableHostAgent&) = delete;

    CZQVariableHost* Host() const { return m_pHost; }

    void Start();
    // Waits for a callback under way for a second at the most; then the thread is terminated. What is queued
    // is lost.
    void Stop();

    // Queues a change, unless the host made it itself. Raises std::bad_alloc, and has queued nothing then.
    void Enqueue(std::wstring_view name, uint32_t type, CZQVariableHost* source);
    void EnqueueReload();

private:
    static DWORD WINAPI ThreadRoutine(void* agent);
    void DeliverUntilStopped();
    void Append(CHANGE_EVENT event);
    void Deliver(const CHANGE_EVENT& event);

    CZQVariableHost* m_pHost;
    Event m_hStopEvent{EventReset::Manual};
    Event m_hWakeEvent{EventReset::Auto};
    Thread m_hThread;
    std::vector<CHANGE_EVENT> m_queue;
    Mutex m_queueMutex;
    // What the thread must not be inside of when it is terminated.
    std::array<const Mutex*, 3> m_guards;
};

} // namespace zq
