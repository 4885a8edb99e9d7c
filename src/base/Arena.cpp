#include "base/Arena.h"

#include "base/Cancellation.h"

#include <algorithm>
#include <array>
#include <atomic>

namespace zq {

namespace {

constexpr size_t kSmallestChunk = size_t{2} * 1024;
constexpr size_t kKeptChunk = size_t{64} * 1024;
constexpr size_t kLargestChunk = size_t{256} * 1024;

// Chunks of kKeptChunk bytes for the next short-lived arena. No lock guards them: a thread may be terminated
// anywhere.
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
    const size_t part = m_life == Life::Short ? 16 : 4;
    const size_t grown = std::clamp(m_chunkBytes / part, kSmallestChunk, kLargestChunk);
    const size_t size = std::max(bytes, m_life == Life::Short ? std::max(grown, kKeptChunk) : grown);
    void* memory = m_life == Life::Short && size == kKeptChunk ? g_keptChunks.Take() : nullptr;
    if (!memory) {
        memory = ::operator new(sizeof(Chunk) + size);
    }
    m_chunks = new (memory) Chunk{m_chunks, size};
    m_chunkBytes += size;
    m_next = reinterpret_cast<std::byte*>(m_chunks + 1);
    m_end = m_next + size;
}

void Arena::Clear() noexcept {
    while (m_chunks) {
        Chunk* next = m_chunks->next;
        const bool mayBeKept = m_life == Life::Short && m_chunks->bytes == kKeptChunk;
        if (!mayBeKept || !g_keptChunks.Keep(m_chunks)) {
            ::operator delete(m_chunks);
        }
        m_chunks = next;
    }
    m_chunkBytes = 0;
    m_next = m_end = nullptr;
}

} // namespace zq
