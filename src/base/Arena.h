// Memory of one JSON tree: handed out in pieces that are never given back singly, freed as a whole.
//
// Portable, one thread.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace zq {

class Arena {
public:
    // Memory for `count` objects that need no destructor. Raises std::bad_alloc.
    template <class T>
    T* Allocate(size_t count) {
        static_assert(alignof(T) <= kAlignment);
        return static_cast<T*>(AllocateBytes(count * sizeof(T)));
    }

    void Clear() {
        m_chunks.clear();
        m_next = m_end = nullptr;
    }

private:
    static constexpr size_t kAlignment = 16;

    void* AllocateBytes(size_t bytes);

    std::vector<std::unique_ptr<std::byte[]>> m_chunks;
    std::byte* m_next = nullptr;
    std::byte* m_end = nullptr;
};

} // namespace zq
