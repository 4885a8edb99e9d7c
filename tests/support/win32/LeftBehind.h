// What a process holds, to be compared before and after.
#pragma once

#include <cstddef>

namespace zq::test {

// Open handles of this process.
size_t CountHandles();
// Threads of this process.
size_t CountThreads();
// Bytes in use in the process heap.
size_t CountHeapBytes();

} // namespace zq::test
