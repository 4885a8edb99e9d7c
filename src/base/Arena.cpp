#include "base/Arena.h"

#include <algorithm>

namespace zq {

namespace {

constexpr size_t kSmallestChunk = size_t{2} * 1024;
constexpr size_t kLargestChunk = size_t{256} * 1024;

} // namespace

void Arena::AddChunk(size_t bytes) {
    // A quarter of what there is keeps the unused end small beside the whole.
    const size_t size = std::max(bytes, std::clamp(m_chunkBytes / 4, kSmallestChunk, kLargestChunk));
    m_chunks = new (::operator new(sizeof(Chunk) + size)) Chunk{m_chunks};
    m_chunkBytes += size;
    m_next = reinterpret_cast<std::byte*>(m_chunks + 1);
    m_end = m_next + size;
}

void Arena::Clear() noexcept {
    while (m_chunks) {
        Chunk* next = m_chunks->next;
        ::operator delete(m_chunks);
        m_chunks = next;
    }
    m_chunkBytes = 0;
    m_next = m_end = nullptr;
}

} // namespace zq
