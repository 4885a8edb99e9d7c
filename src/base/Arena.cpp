#include "base/Arena.h"

#include "base/Cancellation.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <utility>

namespace zq {

namespace {

constexpr size_t kSmallestChunk = size_t{2} * 1024;
// Larger ones are no block of a heap: it takes them from the system each time, and gives them back.
constexpr size_t kLargestChunk = size_t{64} * 1024;

// Chunks of kLargestChunk bytes for the next short-lived arena. No lock guards them: a thread may be
// terminated anywhere.
class KeptChunks {
public:
    ~KeptChunks() {
        while (void* memory = Take()) {
            ::operator delete(memory);
        }
    }
    // Returns null if there is none.
    void* Take() noexcept {
        for (std::atomic<void*>& slot : m_slots) {
            if (slot.load(std::memory_order_relaxed)) {
                if (void* memory = slot.exchange(nullptr, std::memory_order_acquire)) {
                    return memory;
                }
            }
        }
        return nullptr;
    }
    // Returns false if enough are kept already.
    bool Keep(void* memory) noexcept {
        return std::any_of(m_slots.begin(), m_slots.end(), [memory](std::atomic<void*>& slot) {
            void* empty = nullptr;
            return slot.compare_exchange_strong(empty, memory, std::memory_order_release,
                                                std::memory_order_relaxed);
        });
    }

private:
    std::array<std::atomic<void*>, 4> m_slots{};
};

KeptChunks g_keptChunks;

} // namespace

void Arena::AddChunk(size_t bytes) {
    RaiseIfCancelled(m_cancellation);
    // Growing by a fraction of the total keeps the unused end small.
    const size_t wanted = std::max(m_chunkBytes / 4, m_expected);
    const size_t grown = std::clamp(wanted, kSmallestChunk, kLargestChunk);
    const size_t size = std::max(bytes, m_life == Life::Short ? kLargestChunk : grown);
    void* memory = m_life == Life::Short && size == kLargestChunk ? g_keptChunks.Take() : nullptr;
    if (!memory) {
        memory = ::operator new(sizeof(Chunk) + size);
    }
    EndChunk();
    m_chunks = new (memory) Chunk{m_chunks, size, 0};
    m_chunkBytes += size;
    m_expected -= std::min(m_expected, size);
    m_next = reinterpret_cast<std::byte*>(m_chunks + 1);
    m_end = m_next + size;
}

void Arena::EndChunk() noexcept {
    if (m_chunks) {
        m_chunks->used = static_cast<size_t>(m_next - reinterpret_cast<std::byte*>(m_chunks + 1));
    }
}

void Arena::FreeChunk(Chunk* chunk, Life life) noexcept {
    const bool mayBeKept = life == Life::Short && chunk->bytes == kLargestChunk;
    if (!mayBeKept || !g_keptChunks.Keep(chunk)) {
        ::operator delete(chunk);
    }
}

void Arena::Clear() noexcept {
    while (m_chunks) {
        FreeChunk(std::exchange(m_chunks, m_chunks->next), m_life);
    }
    m_chunkBytes = m_expected = 0;
    m_next = m_end = nullptr;
}

Arena::Release::Release(Arena& arena) : m_life(arena.m_life), m_alignment(arena.m_alignment) {
    arena.EndChunk();
    size_t count = 0;
    for (const Chunk* chunk = arena.m_chunks; chunk; chunk = chunk->next) {
        ++count;
    }
    if (count > m_few.size()) {
        m_many.resize(count);
    }
    Owned* const first = m_many.empty() ? m_few.data() : m_many.data();
    Owned* last = first;
    while (arena.m_chunks) {
        Chunk* chunk = std::exchange(arena.m_chunks, arena.m_chunks->next);
        if (chunk->used == 0) {
            FreeChunk(chunk, m_life);
        } else {
            *last++ = {chunk, chunk->used};
        }
    }
    arena.Clear();
    m_chunks = {first, last};
    const auto isBefore = [](const Owned& a, const Owned& b) { return std::less<>()(a.chunk, b.chunk); };
    std::make_heap(m_chunks.begin(), m_chunks.end(), isBefore);
    std::sort_heap(m_chunks.begin(), m_chunks.end(), isBefore); // less code than std::sort
}

Arena::Release::~Release() {
    for (const Owned& owned : m_chunks) {
        if (owned.inUse != 0) {
            FreeChunk(owned.chunk, m_life);
        }
    }
}

void Arena::Release::GiveBack(const void* piece, size_t bytes) noexcept {
    if (bytes == 0) {
        return; // such a piece is in no chunk
    }
    Owned& owned = OwnerOf(piece);
    owned.inUse -= (bytes + m_alignment - 1) & ~(m_alignment - 1);
    if (owned.inUse == 0) {
        FreeChunk(owned.chunk, m_life);
    }
}

// Pieces that follow each other are mostly of one chunk.
Arena::Release::Owned& Arena::Release::OwnerOf(const void* piece) noexcept {
    const std::less<const void*> isBefore;
    const auto isAt = [&](size_t index) {
        return isBefore(m_chunks[index].chunk, piece) &&
               (index + 1 == m_chunks.size() || isBefore(piece, m_chunks[index + 1].chunk));
    };
    if (!isAt(m_latest)) {
        const auto next = std::upper_bound(
            m_chunks.begin(), m_chunks.end(), piece,
            [&](const void* wanted, const Owned& owned) { return isBefore(wanted, owned.chunk); });
        m_latest = static_cast<size_t>(next - m_chunks.begin()) - 1;
    }
    return m_chunks[m_latest];
}

} // namespace zq
