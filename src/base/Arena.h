// Memory that is handed out in pieces and freed as a whole: of a JSON tree, of the names of a batch, of the
// nodes of a map.
//
// Portable, one thread at a time.
#pragma once

#include <cstddef>
#include <new>

namespace zq {

class Arena {
public:
    static constexpr size_t kAlignment = 16;

    Arena() = default;
    ~Arena() { Clear(); }
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    // Memory for `count` objects that need no destructor. Raises std::bad_alloc.
    template <class T>
    T* Allocate(size_t count) {
        static_assert(alignof(T) <= kAlignment);
        if (count > kMostBytes / sizeof(T)) {
            throw std::bad_alloc();
        }
        return static_cast<T*>(AllocateBytes(count * sizeof(T)));
    }

    // Aligned to kAlignment. REQUIRES: `bytes` is at most kMostBytes. Raises std::bad_alloc.
    void* AllocateBytes(size_t bytes) {
        bytes = (bytes + kAlignment - 1) / kAlignment * kAlignment;
        if (bytes > static_cast<size_t>(m_end - m_next)) {
            AddChunk(bytes);
        }
        std::byte* memory = m_next;
        m_next += bytes;
        return memory;
    }

    void Clear() noexcept;

private:
    struct alignas(kAlignment) Chunk {
        Chunk* next;
    };

    static constexpr size_t kMostBytes = static_cast<size_t>(-1) / 2;

    void AddChunk(size_t bytes);

    Chunk* m_chunks = nullptr;
    size_t m_chunkBytes = 0; // of all chunks
    std::byte* m_next = nullptr;
    std::byte* m_end = nullptr;
};

} // namespace zq
