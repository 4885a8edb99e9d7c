// Memory for the nodes of one VariableMap: blocks of ten nodes of one size, freed nodes used again. A node
// and its name are adjacent, so that a look-up touches one region of memory. Blocks are cut from an arena,
// so that a large map costs few allocations and a small one little memory.
//
// Portable, no locks: the map's owner serialises.
#pragma once

#include "base/Arena.h"

#include <array>
#include <cstddef>

namespace zq {

class NodePool {
public:
    static constexpr size_t kNodesInBlock = 10;

    NodePool() = default;
    ~NodePool() = default;
    NodePool(const NodePool&) = delete;
    NodePool& operator=(const NodePool&) = delete;

    // As Arena::Expect, of all nodes together.
    void Expect(size_t bytes) { m_blocks.Expect(bytes); }
    // Raises std::bad_alloc. Memory is aligned to 16 bytes.
    void* Allocate(size_t bytes);
    // `bytes` as given to Allocate.
    void Free(void* node, size_t bytes) noexcept;
    // Frees the memory of all nodes at once, except those too large for a block: see IsPooled.
    void Clear() noexcept;

    // A node with a name too long for a block has memory of its own and has to be freed by itself.
    static constexpr bool IsPooled(size_t bytes) { return bytes <= kStep * kClasses; }

private:
    struct FreeNode {
        FreeNode* next;
    };

    static constexpr size_t kStep = 16;
    static constexpr size_t kClasses = 32;
    static constexpr size_t ClassOf(size_t bytes) { return (bytes - 1) / kStep; }

    void AddBlock(size_t sizeClass);

    std::array<FreeNode*, kClasses> m_free{};
    Arena m_blocks;
};

} // namespace zq
