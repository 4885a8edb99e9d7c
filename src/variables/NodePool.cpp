#include "variables/NodePool.h"

#include <new>

namespace zq {

void* NodePool::Allocate(size_t bytes) {
    if (!IsPooled(bytes)) {
        return ::operator new(bytes);
    }
    const size_t sizeClass = ClassOf(bytes);
    if (!m_free[sizeClass]) {
        AddBlock(sizeClass);
    }
    FreeNode* node = m_free[sizeClass];
    m_free[sizeClass] = node->next;
    return node;
}

void NodePool::Free(void* node, size_t bytes) noexcept {
    if (!IsPooled(bytes)) {
        ::operator delete(node);
        return;
    }
    FreeNode*& head = m_free[ClassOf(bytes)];
    head = new (node) FreeNode{head};
}

void NodePool::Clear() noexcept {
    m_blocks.Clear();
    m_free = {};
}

void NodePool::AddBlock(size_t sizeClass) {
    const size_t nodeBytes = (sizeClass + 1) * kStep;
    auto* nodes = m_blocks.Allocate<std::byte>(kNodesInBlock * nodeBytes);
    for (size_t i = kNodesInBlock; i-- > 0;) {
        m_free[sizeClass] = new (nodes + i * nodeBytes) FreeNode{m_free[sizeClass]};
    }
}

} // namespace zq
