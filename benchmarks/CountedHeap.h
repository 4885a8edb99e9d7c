// A program that links CountedHeap.cpp counts what its operator new has given out.
#pragma once

#include <cstddef>

namespace zq::bench {

// As the process heap keeps it: a header of 16 bytes, sizes in steps of 16.
size_t LiveBytes();

// The most that were live since the last call.
size_t TakePeakBytes();

} // namespace zq::bench
