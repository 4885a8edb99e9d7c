#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::microseconds kPause{50};

class Object {
public:
    virtual ~Object() = default;
    // Takes the object if it is signalled.
    virtual bool TryTake() = 0;
};

class Event final : public Object {
public:
    explicit Event(bool isManual) : m_isManual(isManual) {}
    bool TryTake() override {
        return m_isManual ? m_isSignalled.load(std::memory_order_acquire)
                          : m_isSignalled.exchange(false, std::memory_order_acq_rel);
    }
    void Set(bool isSignalled) { m_isSignalled.store(isSignalled, std::memory_order_release); }

private:
    const bool m_isManual;
    std::atomic<bool> m_isSignalled{false};
};

class Mutex final : public Object {
public:
    bool TryTake() override { return m_mutex.try_lock(); }
    void Lock() { m_mutex.lock(); }
    void Unlock() { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

class Thread final : public Object {
public:
    Thread(DWORD (*routine)(void*), void* argument)
        : m_thread([this, routine, argument] {
              routine(argument);
              m_hasEnded.store(true, std::memory_order_release);
          }) {}
    ~Thread() override { m_thread.join(); }
    bool TryTake() override { return m_hasEnded.load(std::memory_order_acquire); }

private:
    std::atomic<bool> m_hasEnded{false};
    std::thread m_thread;
};

Object* AsObject(HANDLE handle) { return static_cast<Object*>(handle); }

template <class Type, class... Arguments>
HANDLE Make(Arguments... arguments) {
    return static_cast<Object*>(new Type(arguments...));
}

} // namespace

HANDLE CreateEventW(void*, BOOL isManual, BOOL, const wchar_t*) { return Make<Event>(isManual != FALSE); }
BOOL SetEvent(HANDLE event) {
    static_cast<Event*>(AsObject(event))->Set(true);
    return TRUE;
}
BOOL ResetEvent(HANDLE event) {
    static_cast<Event*>(AsObject(event))->Set(false);
    return TRUE;
}

HANDLE CreateMutexW(void*, BOOL, const wchar_t*) { return Make<Mutex>(); }
BOOL ReleaseMutex(HANDLE mutex) {
    static_cast<Mutex*>(AsObject(mutex))->Unlock();
    return TRUE;
}

HANDLE CreateThread(void*, SIZE_T, DWORD (*routine)(void*), void* argument, DWORD, DWORD* id) {
    *id = 0; // no test comes to a thread that asks whether it is this one
    return Make<Thread>(routine, argument);
}
BOOL TerminateThread(HANDLE, DWORD) {
    std::fputs("a thread did not end by itself\n", stderr);
    std::abort();
}
DWORD GetCurrentThreadId() { return 1; }

BOOL CloseHandle(HANDLE object) {
    delete AsObject(object);
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) {
    auto* mutex = dynamic_cast<Mutex*>(AsObject(object));
    if (mutex && milliseconds == INFINITE) {
        mutex->Lock();
        return WAIT_OBJECT_0;
    }
    // Under the sanitizer everything takes many times as long.
    constexpr int kPatience = 20;
    const auto end = Clock::now() + kPatience * std::chrono::milliseconds(milliseconds);
    while (!AsObject(object)->TryTake()) {
        if (milliseconds != INFINITE && Clock::now() >= end) {
            return WAIT_TIMEOUT;
        }
        std::this_thread::sleep_for(kPause);
    }
    return WAIT_OBJECT_0;
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL, DWORD) {
    for (;;) {
        for (DWORD i = 0; i < count; ++i) {
            if (AsObject(objects[i])->TryTake()) {
                return WAIT_OBJECT_0 + i;
            }
        }
        std::this_thread::sleep_for(kPause);
    }
}

DWORD GetLastError() { return 0; }
DWORD GetCurrentProcessId() { return 1; }
BOOL QueryPerformanceCounter(LARGE_INTEGER* counter) {
    counter->QuadPart = Clock::now().time_since_epoch().count();
    return TRUE;
}
void GetSystemTimeAsFileTime(FILETIME* time) { *time = {}; }

// In the place of the component's own.
namespace zq {
void SuspendOutsideSystemLibrary(HANDLE);
void SuspendOutsideSystemLibrary(HANDLE) {}
} // namespace zq
