#include "platform/Thread.h"

#include <algorithm>

namespace zq {

namespace {

void Terminate(HANDLE thread, std::span<const Mutex* const> guards) {
    if (!guards.empty()) {
        MutexLock lock(*guards.front());
        Terminate(thread, guards.subspan(1));
        return;
    }
    // A thread that dies inside the heap leaves it locked for the whole process. A thread that stops itself
    // is not inside the heap, and would take the lock with it.
    const bool isSelf = GetThreadId(thread) == GetCurrentThreadId();
    const HANDLE heap = GetProcessHeap();
    const bool isHeapLocked = !isSelf && HeapLock(heap);
    TerminateThread(thread, 0);
    if (isHeapLocked) {
        HeapUnlock(heap);
    }
}

} // namespace

void Thread::Start(Routine routine, void* argument, std::initializer_list<HANDLE> events) {
    if (std::find(events.begin(), events.end(), nullptr) == events.end()) {
        m_handle.reset(CreateThread(nullptr, 0, routine, argument, 0, nullptr));
    }
}

void Thread::Stop(HANDLE stopEvent, std::span<const Mutex* const> guards) {
    if (!m_handle || !stopEvent) {
        return;
    }
    SetEvent(stopEvent);
    if (WaitForSingleObject(m_handle.get(), kThreadStopMilliseconds) == WAIT_TIMEOUT) {
        Terminate(m_handle.get(), guards);
    }
    m_handle.reset();
}

} // namespace zq
