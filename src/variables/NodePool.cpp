#include "variables/NodePool.h"

#include <new>

namespace zq {

void NodePool::Free(void* node, size_t bytes) noexcept {
    if (!IsPooled(bytes)) {
        ::operator delete(node);
        return;
    }
    FreeNode*& head = m_free[ClassOf(bytes)];
    head = new (node) FreeNode(head);
}

void NodePool::Clear() noexcept {
    m_blocks.Clear();
    m_free = {};
    m_first = m_last = nullptr;
}

void NodePool::AddBlock(size_t sizeClass) {
    const size_t nodeBytes = (sizeClass + 1) * kStep;
    auto* memory = m_blocks.Allocate<std::byte>(sizeof(Block) + kNodesInBlock * nodeBytes);
    auto* block = new (memory) Block{nullptr, nodeBytes};
    (m_last ? m_last->next : m_first) = block;
    m_last = block;
    std::byte* nodes = memory + sizeof(Block);
    // Memory that was in use before is in no cache, and the processor itself does not look beyond a page.
    constexpr size_t kAhead = 1024;
    constexpr size_t kCacheLine = 64;
    for (size_t i = 0; i < kNodesInBlock * nodeBytes; i += kCacheLine) {
        __builtin_prefetch(nodes + kAhead + i, 1);
    }
    for (size_t i = kNodesInBlock; i-- > 0;) {
        m_free[sizeClass] = new (nodes + i * nodeBytes) FreeNode(m_free[sizeClass]);
    }
}

} // namespace zq
