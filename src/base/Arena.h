// Memory that is handed out in pieces and freed as a whole: for a JSON tree, the names of a batch, or the
// nodes of a map.
//
// The memory of short-lived arenas is large and is allocated and freed as a whole, and each time the system's
// heap would take pages from the system and give them back. So a few chunks of one size are kept for the next
// arena.
//
// Portable, one thread at a time; different arenas may be used by different threads.
#pragma once

#include <cstddef>
#include <new>

namespace zq {

class Cancellation;

class Arena {
public:
    static constexpr size_t kLargestAlignment = 8;

    // The use of an arena: it grows slowly and stays, or it is filled at once and soon freed.
    enum class Life { Long, Short };

    // `alignment` applies to all pieces; it is small for texts.
    explicit Arena(Life life = Life::Long, size_t alignment = kLargestAlignment)
        : m_life(life), m_alignment(alignment) {}
    ~Arena() { Clear(); }
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    // Sets what is checked each time that the arena grows; growing then raises Cancelled. May be null.
    void StopOn(const Cancellation* cancellation) { m_cancellation = cancellation; }

    // Memory for `count` objects that need no destructor. Raises std::bad_alloc.
    template <class T>
    T* Allocate(size_t count) {
        static_assert(alignof(T) <= kLargestAlignment);
        if (count > kMostBytes / sizeof(T)) {
            throw std::bad_alloc();
        }
        void* memory = Room(count * sizeof(T));
        Take(count * sizeof(T));
        return static_cast<T*>(memory);
    }

    // Returns memory for a piece whose size is not known yet; Take then says how much of it was used, at most
    // `bytes`. It is aligned to 16 bytes if only multiples of 16 are taken. Raises std::bad_alloc.
    void* Room(size_t bytes) {
        bytes = RoundUp(bytes);
        if (bytes > static_cast<size_t>(m_end - m_next)) {
            AddChunk(bytes);
        }
        return m_next;
    }
    void Take(size_t bytes) { m_next += RoundUp(bytes); }

    void Clear() noexcept;

private:
    struct alignas(16) Chunk {
        Chunk* next;
        size_t bytes; // after this header
    };

    static constexpr size_t kMostBytes = static_cast<size_t>(-1) / 2;

    size_t RoundUp(size_t bytes) const { return (bytes + m_alignment - 1) & ~(m_alignment - 1); }
    void AddChunk(size_t bytes);

    Life m_life;
    size_t m_alignment; // a power of two
    const Cancellation* m_cancellation = nullptr;
    Chunk* m_chunks = nullptr;
    size_t m_chunkBytes = 0; // of all chunks
    std::byte* m_next = nullptr;
    std::byte* m_end = nullptr;
};

} // namespace zq
