// The value of a binary variable: one heap block of a 64-bit byte count and that many bytes.
//
// Portable. Whoever removes or replaces the block's entry frees it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

namespace zq {

struct BinaryBlock {
    uint64_t size;

    const void* Bytes() const { return this + 1; }

    // A copy of `length` bytes. Raises std::bad_alloc.
    static BinaryBlock* Make(const void* bytes, size_t length) {
        if (length > SIZE_MAX - sizeof(BinaryBlock)) {
            throw std::bad_alloc();
        }
        auto* block = new (::operator new(sizeof(BinaryBlock) + length)) BinaryBlock{length};
        if (length != 0) {
            std::memcpy(block + 1, bytes, length);
        }
        return block;
    }

    static void Free(BinaryBlock* block) noexcept { ::operator delete(block); }
};

} // namespace zq
