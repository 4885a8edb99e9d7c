#include "support/win32/LeftBehind.h"

#include <vector>

#include <windows.h>

#include <tlhelp32.h>
#include <winternl.h>

namespace zq::test {

namespace {

constexpr int kSystemHandleInformation = 16;

struct HandleEntry {
    ULONG processId;
    UCHAR type;
    UCHAR flags;
    USHORT handle;
    PVOID object;
    ULONG access;
};

struct HandleTable {
    ULONG count;
    HandleEntry entries[1];
};

} // namespace

// GetProcessHandleCount answers 0 under Wine; the system's handle table counts right.
size_t CountHandles() {
    std::vector<std::byte> buffer(1 << 20);
    ULONG needed = 0;
    while (NtQuerySystemInformation(static_cast<SYSTEM_INFORMATION_CLASS>(kSystemHandleInformation),
                                    buffer.data(), static_cast<ULONG>(buffer.size()), &needed) != 0) {
        buffer.resize(buffer.size() * 2);
    }
    const auto* table = reinterpret_cast<const HandleTable*>(buffer.data());
    size_t count = 0;
    for (ULONG i = 0; i < table->count; ++i) {
        count += table->entries[i].processId == GetCurrentProcessId() ? 1 : 0;
    }
    return count;
}

size_t CountThreads() {
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

size_t CountHeapBytes() {
    const HANDLE heap = GetProcessHeap();
    HeapLock(heap);
    PROCESS_HEAP_ENTRY entry{};
    size_t bytes = 0;
    while (HeapWalk(heap, &entry)) {
        bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
    }
    HeapUnlock(heap);
    return bytes;
}

} // namespace zq::test
