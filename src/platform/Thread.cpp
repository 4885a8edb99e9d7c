#include "platform/Thread.h"

#include "platform/Termination.h"

#include <algorithm>

namespace zq {

namespace {

// How long to wait for the end of a terminated thread.
constexpr DWORD kEndMilliseconds = 100;

// Locks any number of guards by recursion.
void TerminateGuarded(HANDLE thread, std::span<const Mutex* const> guards) ZQ_UNCHECKED_LOCKS {
    if (!guards.empty()) {
        MutexLock lock(*guards.front());
        TerminateGuarded(thread, guards.subspan(1));
        return;
    }
    SuspendOutsideSystemLibrary(thread);
    TerminateThread(thread, 0);
    // Termination is asynchronous: no other thread may touch what the guards protect before it has
    // happened.
    WaitForSingleObject(thread, kEndMilliseconds);
}

} // namespace

void Thread::Start(Routine routine, void* argument, std::initializer_list<HANDLE> events) {
    m_handle.reset();
    m_id = 0;
    if (std::find(events.begin(), events.end(), nullptr) == events.end()) {
        m_handle.reset(CreateThread(nullptr, 0, routine, argument, 0, &m_id));
    }
}

bool Thread::EndsAfter(HANDLE stopEvent) {
    if (!m_handle || !stopEvent) {
        return true;
    }
    SetEvent(stopEvent);
    if (WaitForSingleObject(m_handle.get(), kThreadStopMilliseconds) == WAIT_TIMEOUT) {
        return false;
    }
    m_handle.reset();
    return true;
}

void Thread::Terminate(std::span<const Mutex* const> guards) {
    if (IsCurrent()) {
        TerminateThread(m_handle.get(), 0);
    }
    TerminateGuarded(m_handle.get(), guards);
    m_handle.reset();
}

bool Thread::IsRunning() const { return m_handle && WaitForSingleObject(m_handle.get(), 0) == WAIT_TIMEOUT; }

} // namespace zq
