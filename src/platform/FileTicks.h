// A system time as one number: ticks of 100 ns since 1601.
#pragma once

#include <cstdint>

#include <windows.h>

namespace zq {

inline uint64_t TicksOf(const FILETIME& time) {
    return uint64_t{time.dwHighDateTime} << 32U | time.dwLowDateTime;
}

} // namespace zq
