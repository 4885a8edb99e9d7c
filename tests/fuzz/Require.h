// An invariant of a fuzz target: where it does not hold, the program ends and the fuzzer keeps the input.
#pragma once

#include <cstdlib>

namespace zq::fuzz {

inline void Require(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}

} // namespace zq::fuzz
