#include "support/win32/ProcessResources.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include <windows.h>

#include <tlhelp32.h>

namespace zq::test {

// Wine's GetProcessHandleCount answers 0, and to ask for the handles of all processes, as the system lists
// them, crashes Wine's server when one of them has none at that moment. So the numbers are tried one by one.
size_t HandleCount() {
    DWORD known = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &known) && known != 0) {
        return known;
    }
    constexpr uintptr_t kStep = 4;
    constexpr size_t kLongestGap = 512; // a new handle has the lowest free number
    size_t count = 0;
    size_t gap = 0;
    for (uintptr_t number = kStep; gap < kLongestGap; number += kStep) {
        const auto handle = reinterpret_cast<HANDLE>(number); // NOLINT(performance-no-int-to-ptr)
        DWORD flags = 0;
        if (GetHandleInformation(handle, &flags)) {
            ++count;
            gap = 0;
        } else {
            ++gap;
        }
    }
    return count;
}

size_t HeapBytes() {
    std::vector<HANDLE> heaps(64);
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    heaps.resize(std::min<size_t>(count, heaps.size()));
    size_t bytes = 0;
    for (const HANDLE heap : heaps) {
        HeapLock(heap);
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heap, &entry)) {
            bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
        }
        HeapUnlock(heap);
    }
    return bytes;
}

size_t ThreadCount() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    size_t count = 0;
    for (BOOL found = Thread32First(snapshot, &entry); found; found = Thread32Next(snapshot, &entry)) {
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    }
    CloseHandle(snapshot);
    return count;
}

} // namespace zq::test
