// A Win32 thread that is stopped by an event and terminated if it does not end in time.
//
// Termination is part of the module's contract with its hosts: a callback that never returns must not block
// the host that unregisters it. This component makes termination survivable: while the thread is terminated,
// the caller's guards are locked, and the thread is not inside the system's library, which has the locks of
// the heap.
#pragma once

#include "platform/Handle.h"
#include "platform/Mutex.h"

#include <initializer_list>
#include <span>

namespace zq {

// How long a thread may take to end after a request to stop.
inline constexpr DWORD kThreadStopMilliseconds = 1000;

class Thread {
public:
    using Routine = DWORD(WINAPI*)(void* argument);

    // Starts the thread with default security and stack size. The result is not checked: a thread that did
    // not start never runs, and ending it does nothing. The thread is not started if one of the events that
    // it waits for is missing: it could not be stopped, or would never sleep.
    void Start(Routine routine, void* argument, std::initializer_list<HANDLE> events);

    // Signals `stopEvent` and waits up to kThreadStopMilliseconds for the thread to end. Returns whether it
    // has ended; its handle is then closed.
    bool EndsAfter(HANDLE stopEvent);

    // Locks the `guards` in their order, terminates the thread with exit code 0, so that it cannot leave what
    // they protect half-written, and closes its handle. Takes up to 0.2 seconds, or longer if a guard is held
    // for longer. A thread that terminates itself is not inspected, and the call does not return.
    void Terminate(std::span<const Mutex* const> guards);

    // Whether the thread was started and has not ended.
    bool IsRunning() const;
    // Whether the calling thread is this one.
    bool IsCurrent() const { return m_id != 0 && m_id == GetCurrentThreadId(); }

private:
    UniqueHandle m_handle;
    DWORD m_id = 0;
};

} // namespace zq
