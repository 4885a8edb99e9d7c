#include "platform/Termination.h"

#include <cstddef>
#include <cstdint>

namespace zq {

namespace {

constexpr ULONGLONG kWatchMilliseconds = 100;
// A thread that has not moved in so many looks is waiting inside the system's library, not working there.
constexpr int kLooksWithoutMove = 20;

// Where the system's library is mapped: the code that holds the locks of the process heap.
struct CodeRange {
    uintptr_t begin = 0;
    uintptr_t end = 0;

    bool Contains(uintptr_t address) const { return address >= begin && address < end; }
};

// Asked for before any thread is suspended: a suspended thread may hold the loader's lock.
CodeRange SystemLibrary() {
    const auto* image = reinterpret_cast<const std::byte*>(GetModuleHandleW(L"ntdll.dll"));
    if (!image) {
        return {};
    }
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
    const auto begin = reinterpret_cast<uintptr_t>(image);
    return {begin, begin + headers->OptionalHeader.SizeOfImage};
}

// The next instruction of a suspended thread, or 0.
uintptr_t InstructionOf(HANDLE thread) {
    alignas(16) CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL;
    return GetThreadContext(thread, &context) ? static_cast<uintptr_t>(context.Rip) : 0;
}

} // namespace

void SuspendOutsideSystemLibrary(HANDLE thread) {
    const CodeRange system = SystemLibrary();
    const ULONGLONG start = GetTickCount64();
    uintptr_t last = 0;
    int unmoved = 0;
    while (SuspendThread(thread) != static_cast<DWORD>(-1)) {
        const uintptr_t instruction = InstructionOf(thread);
        unmoved = instruction == last ? unmoved + 1 : 0;
        last = instruction;
        if (!system.Contains(instruction) || unmoved >= kLooksWithoutMove ||
            GetTickCount64() - start >= kWatchMilliseconds) {
            return;
        }
        ResumeThread(thread);
        // On a busy machine a thread that has not moved may only be waiting for a processor.
        if (unmoved == 0) {
            SwitchToThread();
        } else {
            Sleep(1);
        }
    }
}

} // namespace zq
