#include "variables/NodePool.h"

#include <algorithm>
#include <new>
#include <utility>

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
    while (m_slabs) {
        Slab* next = m_slabs->next;
        ::operator delete(m_slabs);
        m_slabs = next;
    }
    m_free = {};
    m_slabBytes = 0;
    m_next = m_end = nullptr;
}

void NodePool::AddBlock(size_t sizeClass) {
    const size_t nodeBytes = (sizeClass + 1) * kStep;
    std::byte* nodes = TakeFromSlab(kNodesInBlock * nodeBytes);
    for (size_t i = kNodesInBlock; i-- > 0;) {
        m_free[sizeClass] = new (nodes + i * nodeBytes) FreeNode{m_free[sizeClass]};
    }
}

std::byte* NodePool::TakeFromSlab(size_t bytes) {
    if (bytes > static_cast<size_t>(m_end - m_next)) {
        // A quarter of what there is keeps the unused end small beside the whole.
        const size_t size = std::max({bytes, kSmallestSlab, std::min(m_slabBytes / 4, kLargestSlab)});
        m_slabs = new (::operator new(sizeof(Slab) + size)) Slab{m_slabs};
        m_slabBytes += size;
        m_next = reinterpret_cast<std::byte*>(m_slabs + 1);
        m_end = m_next + size;
    }
    return std::exchange(m_next, m_next + bytes);
}

} // namespace zq
