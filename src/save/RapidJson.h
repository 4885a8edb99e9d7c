// The JSON library as the save path uses it, and how it is configured. Every file of the save path includes
// it through this header.
//
// Portable.
#pragma once

#include <rapidjson/document.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

namespace zq {

// The library does not check the pointers that its allocator returns, so running out of memory has to raise
// an exception, as everywhere else in the module.
class RaisingAllocator {
public:
    static constexpr bool kNeedFree = true;

    static void* Malloc(size_t size) { return size == 0 ? nullptr : ::operator new(size); }
    static void* Realloc(void* block, size_t size, size_t newSize) {
        void* resized = Malloc(newSize);
        if (block && resized) {
            std::memcpy(resized, block, std::min(size, newSize));
        }
        Free(block);
        return resized;
    }
    static void Free(void* block) noexcept { ::operator delete(block); }
};

using JsonPool = rapidjson::MemoryPoolAllocator<RaisingAllocator>;
using EditableDocument = rapidjson::GenericDocument<rapidjson::UTF8<>, JsonPool, RaisingAllocator>;
using EditableValue = EditableDocument::ValueType;

} // namespace zq
