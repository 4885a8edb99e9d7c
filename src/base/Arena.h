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
    static constexpr size_t kAlignment = 8;

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
        void* memory = Room(count * sizeof(T));
        Take(count * sizeof(T));
        return static_cast<T*>(memory);
    }

    // Memory for a piece whose size is not known yet: Take then says how much of it was used, which is no
    // more than `bytes`. Aligned to kAlignment; to 16 bytes as long as only multiples of 16 are taken. Raises
    // std::bad_alloc.
    void* Room(size_t bytes) {
        bytes = RoundUp(bytes);
        if (bytes > static_cast<size_t>(m_end - m_next)) {
            AddChunk(bytes);
        }
        return m_next;
    }
    void Take(size_t bytes) { m_next += RoundUp(bytes); }

    // Makes sure that `bytes` more come from one piece of memory. Raises std::bad_alloc.
    void Reserve(size_t bytes) { Room(bytes); }

    void Clear() noexcept;

private:
    struct alignas(16) Chunk {
        Chunk* next;
    };

    static constexpr size_t kMostBytes = static_cast<size_t>(-1) / 2;

    static constexpr size_t RoundUp(size_t bytes) {
        return (bytes + kAlignment - 1) / kAlignment * kAlignment;
    }
    void AddChunk(size_t bytes);

    Chunk* m_chunks = nullptr;
    size_t m_chunkBytes = 0; // of all chunks
    std::byte* m_next = nullptr;
    std::byte* m_end = nullptr;
};

} // namespace zq
