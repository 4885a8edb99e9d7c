#include "support/win32/ProcessResources.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

#include <windows.h>

#include <tlhelp32.h>
#include <winternl.h>

namespace zq::test {

namespace {

constexpr auto kSystemHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(16);
constexpr NTSTATUS kLengthMismatch = static_cast<NTSTATUS>(0xC0000004);

// One element of the table that follows its 32-bit count, on x64.
struct HandleEntry {
    ULONG process;
    UCHAR objectType;
    UCHAR flags;
    USHORT handle;
    void* object;
    ACCESS_MASK access;
};
constexpr size_t kEntriesOffset = 8;

} // namespace

// GetProcessHandleCount would be simpler and answers 0 under Wine.
size_t HandleCount() {
    std::vector<unsigned char> table(64 * 1024);
    NTSTATUS status = 0;
    while ((status = NtQuerySystemInformation(kSystemHandleInformation, table.data(),
                                              static_cast<ULONG>(table.size()), nullptr)) ==
           kLengthMismatch) {
        table.resize(table.size() * 2);
    }
    if (status < 0) {
        throw std::runtime_error("the handle table cannot be read");
    }
    ULONG count = 0;
    std::memcpy(&count, table.data(), sizeof(count));
    std::vector<HandleEntry> entries(count);
    std::memcpy(entries.data(), table.data() + kEntriesOffset, count * sizeof(HandleEntry));
    return static_cast<size_t>(std::count_if(entries.begin(), entries.end(), [](const HandleEntry& entry) {
        return (entry.process & 0xFFFFU) == (GetCurrentProcessId() & 0xFFFFU);
    }));
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
