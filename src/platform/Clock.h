// The time for components that wait for files. Tests pass their own clock.
//
// Any thread may call.
#pragma once

#include <cstdint>

namespace zq {

class Clock {
public:
    // From a clock that never goes backwards.
    virtual uint64_t Milliseconds() const = 0;
    // The time of day in the unit of FileTime::ticks.
    virtual uint64_t FileTicks() const = 0;
    virtual void Sleep(uint32_t milliseconds) const = 0;

protected:
    ~Clock() = default;
};

const Clock& SystemClock();

} // namespace zq
