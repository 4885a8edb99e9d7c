// The time as the components see it that wait for files. Tests hand in a clock of their own.
//
// Any thread may call.
#pragma once

#include <cstdint>

namespace zq {

class Clock {
public:
    // Of a clock that only runs forwards.
    virtual uint64_t Milliseconds() const = 0;
    // The time of day in the unit of FileTime::ticks.
    virtual uint64_t FileTicks() const = 0;
    virtual void Sleep(uint32_t milliseconds) const = 0;

protected:
    ~Clock() = default;
};

const Clock& SystemClock();

} // namespace zq
