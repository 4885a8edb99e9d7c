// An unnamed Win32 mutex. It can be locked only by a scope, so an early return or an exception cannot leave
// it locked.
//
// The owning thread may lock again. A mutex whose owner was terminated passes to the next thread that locks
// it: the wait ends and the lock is held.
#pragma once

#include "base/ThreadSafety.h"
#include "platform/Handle.h"

#include <system_error>

namespace zq {

class ZQ_CAPABILITY("mutex") Mutex {
public:
    // Raises std::system_error if a mutex cannot be created: the data would be unguarded.
    Mutex() : m_handle(CreateMutexW(nullptr, FALSE, nullptr)) {
        if (!m_handle) {
            throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                                    "cannot create a mutex");
        }
    }

    HANDLE Get() const { return m_handle.get(); }

private:
    UniqueHandle m_handle;
};

class ZQ_SCOPED_CAPABILITY [[nodiscard]] MutexLock {
public:
    explicit MutexLock(const Mutex& mutex) ZQ_ACQUIRE(mutex) : m_mutex(mutex.Get()) {
        WaitForSingleObject(m_mutex, INFINITE);
    }
    ~MutexLock() ZQ_RELEASE() { ReleaseMutex(m_mutex); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    HANDLE m_mutex;
};

} // namespace zq
