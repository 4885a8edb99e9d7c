#include "support/win32/WatchRequests.h"

#include "support/win32/ImportPatch.h"

#include <atomic>

namespace zq::test {

namespace {

std::atomic<int> waits = 0;
// Of a watcher's thread: it has made a request and not waited yet.
thread_local bool hasRequested = false;

BOOL WINAPI NoteRequest(HANDLE folder, LPVOID buffer, DWORD size, BOOL isTree, DWORD filter, LPDWORD bytes,
                        LPOVERLAPPED overlapped, LPOVERLAPPED_COMPLETION_ROUTINE routine) {
    hasRequested = true;
    return ReadDirectoryChangesW(folder, buffer, size, isTree, filter, bytes, overlapped, routine);
}

DWORD WINAPI CountFirstWait(DWORD count, const HANDLE* handles, BOOL isAll, DWORD milliseconds) {
    if (hasRequested) {
        hasRequested = false;
        ++waits;
    }
    return WaitForMultipleObjects(count, handles, isAll, milliseconds);
}

} // namespace

int WatchRequests() { return waits; }

void CountWatchRequests(HMODULE dll) {
    // For the life of the process.
    static const auto* const request =
        new ImportPatch(dll, "kernel32.dll", "ReadDirectoryChangesW", AsProc(NoteRequest));
    static const auto* const wait =
        new ImportPatch(dll, "kernel32.dll", "WaitForMultipleObjects", AsProc(CountFirstWait));
    static_cast<void>(request);
    static_cast<void>(wait);
}

} // namespace zq::test
