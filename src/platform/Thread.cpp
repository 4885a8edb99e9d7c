#include "platform/Thread.h"

#include <algorithm>
#include <cstdint>

namespace zq {

namespace {

// How long a thread that is to be terminated is watched for a moment outside the system's library, and how
// long its end is waited for afterwards.
constexpr ULONGLONG kWatchMilliseconds = 100;
constexpr DWORD kEndMilliseconds = 100;
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

// Waits for a moment when the thread does not hold a lock of the system's library, and leaves it suspended
// there. Taking the heap's lock instead would not do: the thread may be waiting for it, and a waiter that
// dies takes the wake-up of the next one along.
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

// Recursion locks any number of guards.
void TerminateGuarded(HANDLE thread, std::span<const Mutex* const> guards) ZQ_UNCHECKED_LOCKS {
    if (!guards.empty()) {
        MutexLock lock(*guards.front());
        TerminateGuarded(thread, guards.subspan(1));
        return;
    }
    SuspendOutsideSystemLibrary(thread);
    TerminateThread(thread, 0);
    // Termination is only requested: what the guards protect must not be touched by others before it has
    // happened.
    WaitForSingleObject(thread, kEndMilliseconds);
}

} // namespace

void Thread::Start(Routine routine, void* argument, std::initializer_list<HANDLE> events) {
    m_handle.reset();
    m_id = 0;
    if (std::find(events.begin(), events.end(), nullptr) == events.end()) {
        m_handle.reset(CreateThread(nullptr, 0, routine, argument, 0, &m_id));
    }
}

bool Thread::EndsAfter(HANDLE stopEvent) {
    if (!m_handle || !stopEvent) {
        return true;
    }
    SetEvent(stopEvent);
    if (WaitForSingleObject(m_handle.get(), kThreadStopMilliseconds) == WAIT_TIMEOUT) {
        return false;
    }
    m_handle.reset();
    return true;
}

void Thread::Terminate(std::span<const Mutex* const> guards) {
    if (IsCurrent()) {
        TerminateThread(m_handle.get(), 0);
    }
    TerminateGuarded(m_handle.get(), guards);
    m_handle.reset();
}

bool Thread::IsRunning() const { return m_handle && WaitForSingleObject(m_handle.get(), 0) == WAIT_TIMEOUT; }

} // namespace zq
