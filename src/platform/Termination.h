// Finds a moment at which a thread may be terminated without harm to the process.
#pragma once

#include "platform/Handle.h"

namespace zq {

// Waits up to 500 ms for a moment when the thread does not hold a lock of the system's library, such as that
// of the heap or the loader, and leaves the thread suspended there. It would not be enough to take the
// heap's lock: the thread may be waiting for it, and a waiter that dies takes the next one's wake-up with
// it.
//
// REQUIRES: not called for the calling thread.
void SuspendOutsideSystemLibrary(HANDLE thread);

} // namespace zq
