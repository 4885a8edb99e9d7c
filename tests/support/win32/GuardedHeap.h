// Puts the module's memory on separate pages, for a run of the tests that looks for heap errors. A block ends
// where its page ends, so that a read or write past it faults at once. The page of a freed block is unmapped
// and its address is not used again for a long while, so that using the block faults too.
//
// Wine's own checks of the heap are not made for programs with threads: they walk it without its lock and
// report blocks that are just being freed. These are.
#pragma once

#include "support/win32/ImportPatch.h"

namespace zq::test {

// Replaces the process heap in the DLL, and in the test program where that frees what the DLL made, for as
// long as it lives. One at a time.
class GuardedHeap {
public:
    GuardedHeap();
    ~GuardedHeap();
    GuardedHeap(const GuardedHeap&) = delete;
    GuardedHeap& operator=(const GuardedHeap&) = delete;

    // Blocks that the module has been given, and those of them whose slack before the page's end was changed
    // when they came back: writes of a few bytes too many that did not reach the end.
    long Blocks() const;
    long Overruns() const;

private:
    ImportPatch m_allocate;
    ImportPatch m_freeInDll;
    ImportPatch m_freeInProgram;
};

} // namespace zq::test
