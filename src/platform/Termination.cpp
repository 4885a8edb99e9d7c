#include "platform/Termination.h"

#include "platform/Handle.h"

#include <cstddef>
#include <cstdint>

namespace zq {

namespace {

constexpr ULONGLONG kWatchMilliseconds = 100;
// A thread that has not moved in so many looks is waiting inside the system's library, not working there.
constexpr int kLooksWithoutMove = 20;
// After so long without a look outside that library a moment inside it will do, if it harms nobody.
constexpr ULONGLONG kInsideAfterMilliseconds = 80;
constexpr DWORD kProbeMilliseconds = 10;
constexpr SIZE_T kProbeStack = SIZE_T{64} * 1024;

// Where the system's library is mapped: the code that holds the locks of the process heap.
struct CodeRange {
    const std::byte* begin = nullptr;
    size_t size = 0;

    size_t OffsetOf(uintptr_t address) const { return address - reinterpret_cast<uintptr_t>(begin); }
    bool Contains(uintptr_t address) const { return OffsetOf(address) < size; }
};

// Asked for before any thread is suspended: a suspended thread may hold the loader's lock.
CodeRange SystemLibrary() {
    const auto* image = reinterpret_cast<const std::byte*>(GetModuleHandleW(L"ntdll.dll"));
    if (!image) {
        return {};
    }
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
    return {image, headers->OptionalHeader.SizeOfImage};
}

// The next instruction of a suspended thread, or 0.
uintptr_t InstructionOf(HANDLE thread) {
    alignas(16) CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL;
    return GetThreadContext(thread, &context) ? static_cast<uintptr_t>(context.Rip) : 0;
}

DWORD WINAPI LockHeap(void* /*unused*/) {
    const HANDLE heap = GetProcessHeap();
    return HeapLock(heap) && HeapUnlock(heap) ? 0 : 1;
}

// A thread that takes the lock of the loader, as every new thread does, and then that of the process heap. It
// ends only when no suspended thread holds one of them or has just been woken to take it.
class Probe {
public:
    Probe() : m_thread(CreateThread(nullptr, kProbeStack, LockHeap, nullptr, 0, nullptr)) {}

    bool HasEnded(DWORD milliseconds) const {
        return m_thread && WaitForSingleObject(m_thread.get(), milliseconds) == WAIT_OBJECT_0;
    }

private:
    UniqueHandle m_thread;
};

// Whether the rest of the process can go on though the thread is suspended. If not, the thread is let go on
// for a moment.
bool OthersCanGoOn(HANDLE suspended) {
    const Probe probe;
    if (probe.HasEnded(kProbeMilliseconds)) {
        return true;
    }
    ResumeThread(suspended);
    probe.HasEnded(kProbeMilliseconds);
    SuspendThread(suspended);
    return false;
}

// A thread inside a call of the kernel is about to return from a stub. It may be queued for a lock, and then
// must not die: the wake-up that is meant for the next in the queue would be lost.
bool IsInsideKernel(const CodeRange& system, uintptr_t instruction) {
    constexpr std::byte kReturn{0xC3};
    return system.begin[system.OffsetOf(instruction)] == kReturn;
}

// What is known of a thread from one look to the next.
class ThreadLooks {
public:
    explicit ThreadLooks(HANDLE thread) : m_thread(thread) {}

    // REQUIRES: the thread is suspended.
    bool IsGoodMoment() {
        const uintptr_t instruction = InstructionOf(m_thread);
        m_unmoved = instruction == m_last ? m_unmoved + 1 : 0;
        m_last = instruction;
        const ULONGLONG elapsed = GetTickCount64() - m_start;
        if (!m_system.Contains(instruction) || elapsed >= kWatchMilliseconds) {
            return true;
        }
        const bool isWaiting = m_unmoved >= kLooksWithoutMove;
        const bool isInsideDue =
            elapsed >= kInsideAfterMilliseconds && !IsInsideKernel(m_system, instruction);
        return (isWaiting || isInsideDue) && OthersCanGoOn(m_thread);
    }

    bool HasMoved() const { return m_unmoved == 0; }

private:
    HANDLE m_thread;
    CodeRange m_system = SystemLibrary();
    ULONGLONG m_start = GetTickCount64();
    uintptr_t m_last = 0;
    int m_unmoved = 0;
};

} // namespace

void SuspendOutsideSystemLibrary(HANDLE thread) {
    ThreadLooks looks(thread);
    while (SuspendThread(thread) != static_cast<DWORD>(-1)) {
        if (looks.IsGoodMoment()) {
            return;
        }
        ResumeThread(thread);
        // On a busy machine a thread that has not moved may only be waiting for a processor.
        if (looks.HasMoved()) {
            SwitchToThread();
        } else {
            Sleep(1);
        }
    }
}

} // namespace zq
