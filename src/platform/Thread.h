// A Win32 thread that is stopped by an event and, where it does not end in time, terminated.
//
// Terminating is part of the module's contract with its hosts: a callback that never returns must not hold up
// the host that unregisters it. What makes it survivable stands here: while it dies the victim is neither
// inside the process heap nor inside one of the mutexes that the caller passes along.
#pragma once

#include "platform/Handle.h"
#include "platform/Mutex.h"

#include <initializer_list>
#include <span>

namespace zq {

// How long a thread may take to end once it has been told to.
inline constexpr DWORD kThreadStopMilliseconds = 1000;

class Thread {
public:
    using Routine = DWORD(WINAPI*)(void* argument);

    // Starts the thread with default security and stack size. Not checked: a thread that did not start never
    // runs, and stopping it does nothing. Without the events that it waits for it is not started: it could
    // not be stopped, or would never rest.
    void Start(Routine routine, void* argument, std::initializer_list<HANDLE> events);

    // Signals `stopEvent`, waits for the thread and closes its handle. A thread that is still running after
    // kThreadStopMilliseconds is terminated with exit code 0 while the `guards` are held, locked in their
    // order, so that it cannot leave what they protect half-written. Does nothing without a thread.
    void Stop(HANDLE stopEvent, std::span<const Mutex* const> guards);

private:
    UniqueHandle m_handle;
};

} // namespace zq
