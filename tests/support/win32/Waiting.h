// Waits for a condition, with a limit: a test that would wait longer has failed.
#pragma once

#include <chrono>
#include <functional>

#include <windows.h>

namespace zq::test {

inline constexpr std::chrono::seconds kWaitCap{10};

// Returns whether `condition` became true within the limit.
template <class Condition>
bool WaitFor(Condition condition, std::chrono::milliseconds cap = kWaitCap) {
    const auto end = std::chrono::steady_clock::now() + cap;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        Sleep(1);
    }
    return true;
}

// Runs `work` on another thread; returns whether it came to its end within some seconds: whether the locks
// that it takes are free.
inline bool EndsOnAnotherThread(const std::function<void()>& work) {
    const HANDLE thread = CreateThread(
        nullptr, 0,
        [](void* argument) -> DWORD {
            (*static_cast<const std::function<void()>*>(argument))();
            return 0;
        },
        const_cast<std::function<void()>*>(&work), 0, nullptr);
    const bool hasEnded = WaitForSingleObject(thread, 5000) == WAIT_OBJECT_0;
    CloseHandle(thread);
    return hasEnded;
}

} // namespace zq::test
