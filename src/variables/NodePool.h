// Memory for the nodes of one VariableMap: blocks of ten nodes of one size, freed nodes used again. A node
// and its name lie in one piece, so that a look-up touches one place in memory. Blocks are cut from slabs
// that grow with the pool, so that a large map costs few allocations and a small one little memory.
//
// Portable, no locks: the map's owner serialises.
#pragma once

#include <array>
#include <cstddef>

namespace zq {

class NodePool {
public:
    static constexpr size_t kNodesInBlock = 10;

    NodePool() = default;
    ~NodePool() { Clear(); }
    NodePool(const NodePool&) = delete;
    NodePool& operator=(const NodePool&) = delete;

    // Raises std::bad_alloc. Memory is aligned to 16 bytes.
    void* Allocate(size_t bytes);
    // `bytes` as given to Allocate.
    void Free(void* node, size_t bytes) noexcept;
    // Frees the memory of all nodes at once, except those too large for a block: see IsPooled.
    void Clear() noexcept;

    // A node with a name too long for a block stands alone in memory and has to be freed alone.
    static constexpr bool IsPooled(size_t bytes) { return bytes <= kStep * kClasses; }

private:
    struct FreeNode {
        FreeNode* next;
    };
    struct alignas(16) Slab {
        Slab* next;
    };

    static constexpr size_t kStep = 16;
    static constexpr size_t kClasses = 32;
    static constexpr size_t ClassOf(size_t bytes) { return (bytes - 1) / kStep; }

    static constexpr size_t kSmallestSlab = size_t{2} * 1024;
    static constexpr size_t kLargestSlab = size_t{64} * 1024;

    void AddBlock(size_t sizeClass);
    std::byte* TakeFromSlab(size_t bytes);

    std::array<FreeNode*, kClasses> m_free{};
    Slab* m_slabs = nullptr;
    size_t m_slabBytes = 0; // of all slabs
    std::byte* m_next = nullptr;
    std::byte* m_end = nullptr;
};

} // namespace zq
