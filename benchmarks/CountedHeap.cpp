#include "CountedHeap.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

size_t g_liveBytes = 0;
size_t g_peakBytes = 0;

size_t HeapBytes(size_t bytes) { return 16 + (bytes + 15) / 16 * 16; }

} // namespace

size_t zq::bench::LiveBytes() { return g_liveBytes; }

size_t zq::bench::TakePeakBytes() { return std::exchange(g_peakBytes, g_liveBytes); }

void* operator new(size_t bytes) {
    auto* block = static_cast<size_t*>(std::malloc(bytes + 16));
    if (!block) {
        throw std::bad_alloc();
    }
    *block = HeapBytes(bytes);
    g_liveBytes += *block;
    g_peakBytes = std::max(g_peakBytes, g_liveBytes);
    return block + 2;
}

void operator delete(void* memory) noexcept {
    if (memory) {
        size_t* block = static_cast<size_t*>(memory) - 2;
        g_liveBytes -= *block;
        std::free(block);
    }
}

void operator delete(void* memory, size_t) noexcept { operator delete(memory); }
