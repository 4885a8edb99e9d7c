// Waiting for something to become true, with a cap: a test that would wait longer has failed.
#pragma once

#include <chrono>

#include <windows.h>

namespace zq::test {

inline constexpr std::chrono::seconds kWaitCap{10};

// Returns whether `condition` became true within the cap.
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

} // namespace zq::test
