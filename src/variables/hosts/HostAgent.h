// One registered host: its queue of changes and the thread that delivers them.
//
// Any thread may queue, and never waits for the host. Delivery is in the order of queueing, with no lock
// held.
#pragma once

#include "platform/Event.h"
#include "platform/Mutex.h"
#include "platform/Thread.h"
#include "variables/hosts/ChangeEvent.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace zq {

class CZQVariableHostAgent {
public:
    // `host` is not owned. `guards` are the mutexes that the delivery thread may hold inside a callback, in
    // the order in which they are locked: see Thread::Stop. They must outlive the agent.
    CZQVariableHostAgent(CZQVariableHost* host, std::span<const Mutex* const> guards);
    virtual ~CZQVariableHostAgent();
    CZQVariableHostAgent(const CZQVariableHostAgent&) = delete;
    CZQVariableHostAgent& operator=(const CZQVariableHostAgent&) = delete;

    CZQVariableHost* Host() const { return m_pHost; }

    void Start();
    // Waits up to one second for a running callback; then the thread is terminated. What is queued is lost.
    // The host is not called afterwards. On the agent's own thread it does not return.
    void Stop();

    // Whether the caller is the delivery thread: a callback of this host.
    bool IsCurrentThread() const { return m_hThread.IsCurrent(); }
    // Waits until Stop() has ended the thread, or is about to end its own.
    void WaitUntilStopped() const { m_stopped.Wait(INFINITE); }
    // Whether nobody needs the agent any more: it was stopped, and its thread has ended.
    bool IsGone() const { return m_stopped.Wait(0) && !m_hThread.IsRunning(); }

    // Queues a change, unless the host made it itself. Raises std::bad_alloc, and has queued nothing then.
    void Enqueue(const std::shared_ptr<const std::wstring>& name, uint32_t type, CZQVariableHost* source);
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
    std::vector<CHANGE_EVENT> m_queue ZQ_GUARDED_BY(m_queueMutex);
    Mutex m_queueMutex;
    Event m_stopped{EventReset::Manual};
    // What the thread must not be inside of when it is terminated.
    std::vector<const Mutex*> m_guards;
};

} // namespace zq
