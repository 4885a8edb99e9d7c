// A Win32 thread that is stopped by an event and, where it does not end in time, terminated.
//
// Termination is part of the module's contract with its hosts: a callback that never returns must not hold up
// the host that unregisters it. What makes it survivable is here: while the thread is terminated, the
// caller's guards are locked, and the thread is not inside the system's library, where the locks of the heap
// are.
#pragma once

#include "platform/Handle.h"
#include "platform/Mutex.h"

#include <initializer_list>
#include <span>

namespace zq {

// How long a thread may take to end after it was asked to.
inline constexpr DWORD kThreadStopMilliseconds = 1000;

class Thread {
public:
    using Routine = DWORD(WINAPI*)(void* argument);

    // Starts the thread with default security and stack size. The result is not checked: a thread that did
    // not start never runs, and ending it does nothing. It is not started when one of the events that it
    // waits for is missing: it could not be stopped, or would never rest.
    void Start(Routine routine, void* argument, std::initializer_list<HANDLE> events);

    // Signals `stopEvent` and waits for the end of the thread, for kThreadStopMilliseconds. Returns whether
    // there is no thread any more; its handle is closed then.
    bool EndsAfter(HANDLE stopEvent);

    // Terminates the thread with exit code 0 while the `guards` are locked, in their order, so that it cannot
    // leave what they protect half-written, and closes its handle. Takes up to 0.2 seconds, and longer only
    // where a guard is held for longer. A thread that terminates itself is not inspected, and does not
    // return.
    void Terminate(std::span<const Mutex* const> guards);

    // Whether a thread was started and has not ended.
    bool IsRunning() const;
    // Whether the caller is this thread.
    bool IsCurrent() const { return m_id != 0 && m_id == GetCurrentThreadId(); }

private:
    UniqueHandle m_handle;
    DWORD m_id = 0;
};

} // namespace zq
