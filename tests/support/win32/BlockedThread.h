// Detects the moment when a thread begins to wait: a test that needs two threads in a certain order waits for
// that moment, not for some time.
#pragma once

#include "support/win32/ImportPatch.h"

#include <functional>

#include <windows.h>

namespace zq::test {

// Runs `work` on a new thread. The components under test have to be linked into the test program.
class BlockedThread {
public:
    explicit BlockedThread(std::function<void()> work);
    // Waits for the end of the thread.
    ~BlockedThread();
    BlockedThread(const BlockedThread&) = delete;
    BlockedThread& operator=(const BlockedThread&) = delete;

    // Returns true once the thread has begun to wait for one object, false when it ends without ever waiting.
    bool WaitUntilBlocked() const;
    // Returns whether the thread ended within the time.
    bool Ends(DWORD milliseconds = 10'000) const {
        return WaitForSingleObject(m_thread, milliseconds) == WAIT_OBJECT_0;
    }

private:
    static DWORD WINAPI Run(void* self);
    static DWORD WINAPI WaitAndReport(HANDLE object, DWORD milliseconds);

    std::function<void()> m_work;
    ImportPatch m_patch;
    HANDLE m_blocked;
    HANDLE m_thread;
};

} // namespace zq::test
