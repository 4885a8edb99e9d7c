#include "base/Arena.h"

#include <algorithm>

namespace zq {

namespace {

// Each chunk is twice as large as the one before: a small file takes little, a large one few.
constexpr size_t kFirstChunkBytes = size_t{4} * 1024;
constexpr size_t kMostDoublings = 6;

} // namespace

void* Arena::AllocateBytes(size_t bytes) {
    bytes = (bytes + kAlignment - 1) / kAlignment * kAlignment;
    if (bytes > static_cast<size_t>(m_end - m_next)) {
        const size_t size = std::max(bytes, kFirstChunkBytes << std::min(m_chunks.size(), kMostDoublings));
        m_chunks.push_back(std::make_unique_for_overwrite<std::byte[]>(size));
        m_next = m_chunks.back().get();
        m_end = m_next + size;
    }
    void* memory = m_next;
    m_next += bytes;
    return memory;
}

} // namespace zq
