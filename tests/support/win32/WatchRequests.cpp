#include "support/win32/WatchRequests.h"

#include "support/win32/ImportPatch.h"

#include <atomic>

namespace zq::test {

namespace {

std::atomic<int> requests = 0;

BOOL WINAPI RequestAndCount(HANDLE folder, LPVOID buffer, DWORD size, BOOL isTree, DWORD filter,
                            LPDWORD bytes, LPOVERLAPPED overlapped, LPOVERLAPPED_COMPLETION_ROUTINE routine) {
    const BOOL result =
        ReadDirectoryChangesW(folder, buffer, size, isTree, filter, bytes, overlapped, routine);
    const DWORD error = GetLastError();
    ++requests;
    SetLastError(error);
    return result;
}

} // namespace

int WatchRequests() { return requests; }

void CountWatchRequests(HMODULE dll) {
    // For the life of the process.
    static const auto* const patch =
        new ImportPatch(dll, "kernel32.dll", "ReadDirectoryChangesW", AsProc(RequestAndCount));
    static_cast<void>(patch);
}

} // namespace zq::test
