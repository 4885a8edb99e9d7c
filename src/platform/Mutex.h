// An unnamed Win32 mutex and its lock. The owning thread may lock again. A mutex whose owner was terminated
// is taken over by the next thread that locks it: the wait ends and the lock is held.
#pragma once

#include "platform/Handle.h"

#include <system_error>
#include <utility>

namespace zq {

class Mutex {
public:
    // Raises std::system_error when the system has none to give: what it guards would go unguarded.
    Mutex() : m_handle(CreateMutexW(nullptr, FALSE, nullptr)) {
        if (!m_handle) {
            throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                                    "cannot create a mutex");
        }
    }

    void Lock() const { WaitForSingleObject(m_handle.get(), INFINITE); }
    void Unlock() const { ReleaseMutex(m_handle.get()); }

private:
    UniqueHandle m_handle;
};

class [[nodiscard]] MutexLock {
public:
    explicit MutexLock(const Mutex& mutex) : m_mutex(&mutex) { mutex.Lock(); }
    ~MutexLock() { Release(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    // Unlocks before the end of the scope.
    void Release() {
        if (const Mutex* mutex = std::exchange(m_mutex, nullptr)) {
            mutex->Unlock();
        }
    }

private:
    const Mutex* m_mutex;
};

} // namespace zq
