// The system resources that this process holds, to check that they are freed.
#pragma once

#include <cstddef>

namespace zq::test {

// Open handles.
size_t HandleCount();

// Threads of this process.
size_t ThreadCount();

// Bytes in use in all heaps of the process: those of the run-time, of COM and of OLE texts and arrays.
size_t HeapBytes();

} // namespace zq::test
