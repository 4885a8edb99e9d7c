#include "platform/Termination.h"

#include "platform/Handle.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace zq {

namespace {

constexpr ULONGLONG kWatchMilliseconds = 500;
// A thread that has not moved in this many looks is waiting inside the system's library, not working there.
constexpr int kLooksWithoutMove = 20;
// If every look for this long finds the thread inside that library, a harmless moment inside it is accepted.
constexpr ULONGLONG kInsideAfterMilliseconds = 80;
constexpr DWORD kProbeMilliseconds = 10;
constexpr SIZE_T kProbeStack = SIZE_T{64} * 1024;

// Where the system's library, whose code holds the locks of all heaps, is mapped.
struct CodeRange {
    const std::byte* begin = nullptr;
    size_t size = 0;

    size_t OffsetOf(uintptr_t address) const { return address - reinterpret_cast<uintptr_t>(begin); }
    bool Contains(uintptr_t address) const { return OffsetOf(address) < size; }
};

// Queried before any thread is suspended: a suspended thread may hold the loader's lock.
CodeRange SystemLibrary() {
    const auto* image = reinterpret_cast<const std::byte*>(GetModuleHandleW(L"ntdll.dll"));
    if (!image) {
        return {};
    }
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
    return {image, headers->OptionalHeader.SizeOfImage};
}

// Returns the next instruction of a suspended thread, or 0.
uintptr_t InstructionOf(HANDLE thread) {
    alignas(16) CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL;
    return GetThreadContext(thread, &context) ? static_cast<uintptr_t>(context.Rip) : 0;
}

// Takes the lock of the process heap, and that of the heap that the run-time allocates from, which may be
// another one. No heap keeps blocks of that size ready, to be had without its lock.
DWORD WINAPI LockHeaps(void* /*unused*/) {
    constexpr size_t kLargeBlock = size_t{64} * 1024;
    void* volatile block = std::malloc(kLargeBlock); // volatile: otherwise no memory would be asked for
    std::free(block);
    const HANDLE heap = GetProcessHeap();
    return HeapLock(heap) && HeapUnlock(heap) ? 0 : 1;
}

// A thread that takes the loader's lock, as every new thread does, and then those of the heaps. It ends only
// if no suspended thread holds one of them or has just been woken to take it.
class Probe {
public:
    Probe() : m_thread(CreateThread(nullptr, kProbeStack, LockHeaps, nullptr, 0, nullptr)) {}

    bool HasEnded(DWORD milliseconds) const {
        return m_thread && WaitForSingleObject(m_thread.get(), milliseconds) == WAIT_OBJECT_0;
    }

private:
    UniqueHandle m_thread;
};

// Whether the rest of the process can run while the thread is suspended. If not, the thread is resumed for a
// moment.
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

// A thread inside a kernel call is about to return from a stub. It may be queued for a lock and then must not
// die: the wake-up for the next thread in the queue would be lost.
bool IsInsideKernel(const CodeRange& system, uintptr_t instruction) {
    constexpr std::byte kReturn{0xC3};
    return system.begin[system.OffsetOf(instruction)] == kReturn;
}

// What is remembered of a thread from one look to the next.
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
