// Memory that is handed out in pieces and freed as a whole: for a JSON tree, the names of a batch, or the
// nodes of a map.
//
// The memory of short-lived arenas is large and is allocated and freed as a whole, and each time the system's
// heap would take pages from the system and give them back. So a few chunks of one size are kept for the next
// arena.
//
// Portable, one thread at a time; different arenas may be used by different threads.
#pragma once

#include <array>
#include <cstddef>
#include <new>
#include <span>
#include <vector>

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

    // Says how many bytes are about to be allocated, so that few chunks take them.
    void Expect(size_t bytes) { m_expected = bytes; }

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

    class Release;

    // A place in the arena, to return to.
    class Place {
        friend class Arena;
        const void* chunk = nullptr; // the newest one then; null before the first
        std::byte* next = nullptr;
    };
    Place Here() const {
        Place place;
        place.chunk = m_chunks;
        place.next = m_next;
        return place;
    }
    // Whether all that was allocated since then is in one chunk.
    bool IsInChunkOf(const Place& place) const {
        return m_chunks == place.chunk || (!place.chunk && !m_chunks->next);
    }
    // Frees all that was allocated since then. REQUIRES: IsInChunkOf(place).
    void ReturnTo(const Place& place) noexcept {
        if (m_chunks) {
            m_next = place.chunk ? place.next : reinterpret_cast<std::byte*>(m_chunks + 1);
        }
    }

private:
    struct alignas(16) Chunk {
        Chunk* next;
        size_t bytes; // after this header
        size_t used;  // of them, once the next chunk was added
    };

    static constexpr size_t kMostBytes = static_cast<size_t>(-1) / 2;

    size_t RoundUp(size_t bytes) const { return (bytes + m_alignment - 1) & ~(m_alignment - 1); }
    void AddChunk(size_t bytes);
    void EndChunk() noexcept;
    static void FreeChunk(Chunk* chunk, Life life) noexcept;

    Life m_life;
    size_t m_alignment; // a power of two
    const Cancellation* m_cancellation = nullptr;
    Chunk* m_chunks = nullptr;
    size_t m_chunkBytes = 0; // of all chunks
    size_t m_expected = 0;
    std::byte* m_next = nullptr;
    std::byte* m_end = nullptr;
};

// Takes over the memory of an arena, which is empty from then on, and frees it bit by bit: each chunk when
// all of its pieces have been given back, and what is left at its own end.
class Arena::Release {
public:
    // Raises std::bad_alloc, and has changed nothing then.
    explicit Release(Arena& arena);
    ~Release();
    Release(const Release&) = delete;
    Release& operator=(const Release&) = delete;

    // `bytes` is as much as was taken. REQUIRES: the piece is the arena's and has not been given back.
    void GiveBack(const void* piece, size_t bytes) noexcept;

private:
    struct Owned {
        Chunk* chunk;
        size_t inUse; // bytes; 0 once the chunk is freed
    };

    Owned& OwnerOf(const void* piece) noexcept;

    Life m_life;
    size_t m_alignment;
    std::array<Owned, 4> m_few{};
    std::vector<Owned> m_many; // where there are more
    std::span<Owned> m_chunks; // in ascending order of their addresses
    size_t m_latest = 0;       // the one that OwnerOf found
};

} // namespace zq
