// What this process holds of the system: to see that something was given back.
#pragma once

#include <cstddef>

namespace zq::test {

// Open handles, from the system's own table.
size_t HandleCount();

// Threads of this process.
size_t ThreadCount();

// Bytes in use in the process heap.
size_t HeapBytes();

// Private memory in bytes.
size_t PrivateBytes();

} // namespace zq::test
