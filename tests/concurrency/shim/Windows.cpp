#include "shim/Object.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <thread>

namespace {

using zq::shim::AsObject;
using zq::shim::Object;

using Clock = std::chrono::steady_clock;

constexpr std::chrono::microseconds kPause{50};

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

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL, DWORD milliseconds) {
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        for (DWORD i = 0; i < count; ++i) {
            if (AsObject(objects[i])->TryTake()) {
                return WAIT_OBJECT_0 + i;
            }
        }
        if (milliseconds != INFINITE && Clock::now() >= end) {
            return WAIT_TIMEOUT;
        }
        std::this_thread::sleep_for(kPause);
    }
}

DWORD GetLastError() { return 0; }
void Sleep(DWORD milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }
ULONGLONG GetTickCount64() {
    return static_cast<ULONGLONG>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch()).count());
}
DWORD GetCurrentProcessId() { return 1; }
BOOL QueryPerformanceCounter(LARGE_INTEGER* counter) {
    counter->QuadPart = Clock::now().time_since_epoch().count();
    return TRUE;
}
void GetSystemTimeAsFileTime(FILETIME* time) { *time = {}; }
void GetSystemTime(SYSTEMTIME* time) {
    const auto now = std::chrono::system_clock::now();
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    *time = {static_cast<WORD>(utc.tm_year + 1900), static_cast<WORD>(utc.tm_mon + 1),
             static_cast<WORD>(utc.tm_mday),        static_cast<WORD>(utc.tm_hour),
             static_cast<WORD>(utc.tm_min),         static_cast<WORD>(utc.tm_sec),
             static_cast<WORD>(milliseconds)};
}

int WideCharToMultiByte(UINT, DWORD, const wchar_t* wide, int length, char* bytes, int size, const char*,
                        BOOL*) {
    if (size != 0) {
        std::transform(wide, wide + std::min(length, size), bytes,
                       [](wchar_t unit) { return unit < 0x80 ? static_cast<char>(unit) : '?'; });
    }
    return length;
}

// In the place of the component's own.
namespace zq {
void SuspendOutsideSystemLibrary(HANDLE);
void SuspendOutsideSystemLibrary(HANDLE) {}
} // namespace zq
