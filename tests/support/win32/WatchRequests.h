// Events of the DLL's watchers for tests to wait for.
#pragma once

#include <windows.h>

namespace zq::test {

// How many requests for the changes of a folder are pending or over, whose watcher has begun to wait:
// everything that was due before the wait has been done, the look at the start included.
int WatchRequests();

// Counts from the first call on. LoadModuleDll() makes it.
void CountWatchRequests(HMODULE dll);

} // namespace zq::test
