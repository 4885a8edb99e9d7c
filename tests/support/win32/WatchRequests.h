// Events of the DLL's watchers for tests to wait for.
#pragma once

#include <windows.h>

namespace zq::test {

// How many requests for the changes of a folder the DLL has made so far. A request is pending when it is
// counted, and everything that was due after the notice before it has been done.
int WatchRequests();

// Counts from the first call on. LoadModuleDll() makes it.
void CountWatchRequests(HMODULE dll);

} // namespace zq::test
