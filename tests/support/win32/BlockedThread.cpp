#include "support/win32/BlockedThread.h"

namespace zq::test {

namespace {

thread_local HANDLE t_blocked = nullptr; // of the BlockedThread that runs here

// Not through the import table, which sends its callers here.
DWORD Wait(HANDLE object, DWORD milliseconds) {
    static const auto wait = reinterpret_cast<decltype(&WaitForSingleObject)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "WaitForSingleObject")));
    return wait(object, milliseconds);
}

} // namespace

BlockedThread::BlockedThread(std::function<void()> work)
    : m_work(std::move(work)), m_patch(nullptr, "kernel32.dll", "WaitForSingleObject", AsProc(WaitAndReport)),
      m_blocked(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_thread(CreateThread(nullptr, 0, Run, this, 0, nullptr)) {}

BlockedThread::~BlockedThread() {
    Wait(m_thread, INFINITE);
    CloseHandle(m_thread);
    CloseHandle(m_blocked);
}

bool BlockedThread::WaitUntilBlocked() const {
    const HANDLE handles[] = {m_blocked, m_thread};
    return WaitForMultipleObjects(2, handles, FALSE, 10'000) == WAIT_OBJECT_0;
}

DWORD WINAPI BlockedThread::Run(void* self) {
    auto* thread = static_cast<BlockedThread*>(self);
    t_blocked = thread->m_blocked;
    thread->m_work();
    return 0;
}

DWORD WINAPI BlockedThread::WaitAndReport(HANDLE object, DWORD milliseconds) {
    if (t_blocked && milliseconds != 0) {
        const DWORD result = Wait(object, 0);
        if (result != WAIT_TIMEOUT) {
            return result;
        }
        SetEvent(t_blocked);
    }
    return Wait(object, milliseconds);
}

} // namespace zq::test
