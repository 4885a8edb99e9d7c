// The moment at which a thread may be terminated without harm to the process.
#pragma once

#include "platform/Handle.h"

namespace zq {

// Waits up to 100 ms for a moment when the thread does not hold a lock of the system's library, such as that
// of the heap or of the loader, and leaves it suspended there. Taking the heap's lock instead would not do:
// the thread may be waiting for it, and a waiter that dies takes the wake-up of the next one along.
//
// REQUIRES: not called for the calling thread.
void SuspendOutsideSystemLibrary(HANDLE thread);

} // namespace zq
