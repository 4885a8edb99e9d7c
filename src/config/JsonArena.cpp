#include "config/JsonArena.h"

#include <algorithm>

namespace zq {

namespace {

constexpr size_t kChunkBytes = size_t{64} * 1024;

} // namespace

void* JsonArena::AllocateBytes(size_t bytes) {
    bytes = (bytes + kAlignment - 1) / kAlignment * kAlignment;
    if (bytes > static_cast<size_t>(m_end - m_next)) {
        const size_t size = std::max(bytes, kChunkBytes);
        m_chunks.push_back(std::make_unique_for_overwrite<std::byte[]>(size));
        m_next = m_chunks.back().get();
        m_end = m_next + size;
    }
    void* memory = m_next;
    m_next += bytes;
    return memory;
}

} // namespace zq
