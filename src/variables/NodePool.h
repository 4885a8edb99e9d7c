// Memory for the nodes of one VariableMap: blocks of ten nodes of one size, freed nodes used again. A node
// and its name are adjacent, so that a look-up touches one region of memory. Blocks are cut from an arena,
// so that a large map costs few allocations and a small one little memory, and they are visited in the order
// in which they were made: memory from one end to the other.
//
// Portable, no locks: the map's owner serialises.
#pragma once

#include "base/Arena.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <new>

namespace zq {

class NodePool {
public:
    static constexpr size_t kNodesInBlock = 10;

    NodePool() = default;
    ~NodePool() = default;
    NodePool(const NodePool&) = delete;
    NodePool& operator=(const NodePool&) = delete;

    // As Arena::Expect: what `count` nodes and a small table take together, `bytes` of it in the nodes.
    void Expect(size_t bytes, size_t count) {
        constexpr size_t kRounding = kStep / 2 + sizeof(Block) / kNodesInBlock + 1; // of a node on average
        constexpr size_t kUnusedNodes = 2048; // of the last block of each size, and the table
        m_blocks.Expect(bytes + count * kRounding + kUnusedNodes);
    }
    // Memory for a table beside the nodes, of a multiple of 16 bytes, which lasts until Clear. Raises
    // std::bad_alloc.
    void* AllocateTable(size_t bytes) { return m_blocks.Allocate<std::byte>(bytes); }
    // Raises std::bad_alloc. Memory is aligned to 16 bytes. The user writes its first word at once, and never
    // an odd one.
    void* Allocate(size_t bytes) {
        if (!IsPooled(bytes)) {
            return ::operator new(bytes);
        }
        FreeNode*& first = m_free[ClassOf(bytes)];
        if (!first) {
            AddBlock(ClassOf(bytes));
        }
        FreeNode* node = first;
        first = node->Next(); // NOLINT(clang-analyzer-core.CallAndMessage): AddBlock made one
        return node;
    }
    // `bytes` as given to Allocate.
    void Free(void* node, size_t bytes) noexcept;
    // Frees the memory of all nodes at once, except those too large for a block: see IsPooled.
    void Clear() noexcept;

    // A node with a name too long for a block has memory of its own and has to be freed by itself.
    static constexpr bool IsPooled(size_t bytes) { return bytes <= kStep * kClasses; }

    // Calls visit(node) for every node that is in use, except those too large for a block.
    template <class Visit>
    void ForEach(Visit visit) const {
        for (const Block* block = m_first; block; block = block->next) {
            auto* node = reinterpret_cast<std::byte*>(const_cast<Block*>(block) + 1);
            for (size_t i = 0; i < kNodesInBlock; ++i, node += block->nodeBytes) {
                if (!IsFree(node)) {
                    visit(static_cast<void*>(node));
                }
            }
        }
    }

private:
    // Followed by its nodes.
    struct alignas(16) Block {
        Block* next;
        size_t nodeBytes;
    };

    // The next free node of the size, made odd: that tells a free node from one in use.
    struct FreeNode {
        explicit FreeNode(FreeNode* next) : link(reinterpret_cast<uintptr_t>(next) | 1U) {}
        FreeNode* Next() const {
            return reinterpret_cast<FreeNode*>(link & ~uintptr_t{1}); // NOLINT(performance-no-int-to-ptr)
        }
        uintptr_t link;
    };

    static bool IsFree(const std::byte* node) {
        return (reinterpret_cast<const FreeNode*>(node)->link & 1U) != 0;
    }

    static constexpr size_t kStep = 16;
    static constexpr size_t kClasses = 32;
    static constexpr size_t ClassOf(size_t bytes) { return (bytes - 1) / kStep; }

    void AddBlock(size_t sizeClass);

    std::array<FreeNode*, kClasses> m_free{};
    Arena m_blocks;
    Block* m_first = nullptr;
    Block* m_last = nullptr;
};

} // namespace zq
