// Copies names and values, which have a few dozen bytes: calling the library's copy costs more than the
// copying.
//
// Portable.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// For a literal, whose length it knows, GCC 12 warns of the branches for other lengths, which are never
// taken.
#ifdef __GNUC__
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Warray-bounds"
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wstringop-overread"
#endif
#endif

namespace zq {

namespace detail {

template <size_t Size>
struct Piece {
    std::byte bytes[Size];
};

template <size_t Size>
void CopyPiece(std::byte* to, const std::byte* from) {
    Piece<Size> piece;
    std::memcpy(&piece, from, Size); // of fixed size: one load and one store
    std::memcpy(to, &piece, Size);
}

// Copies `Size` to twice `Size` bytes as two pieces that overlap.
template <size_t Size>
void CopyEnds(std::byte* to, const std::byte* from, size_t count) {
    Piece<Size> first;
    Piece<Size> last;
    std::memcpy(&first, from, Size);
    std::memcpy(&last, from + count - Size, Size);
    std::memcpy(to, &first, Size);
    std::memcpy(to + count - Size, &last, Size);
}

} // namespace detail

// As std::memcpy; both may be null where `count` is 0.
inline void CopyShort(void* destination, const void* source, size_t count) {
    constexpr size_t kLongest = 256;
    auto* to = static_cast<std::byte*>(destination);
    const auto* from = static_cast<const std::byte*>(source);
    if (count > kLongest) {
        std::memcpy(to, from, count);
    } else if (count >= 16) {
        size_t done = 0;
        for (; done + 16 < count; done += 16) {
            detail::CopyPiece<16>(to + done, from + done);
        }
        detail::CopyPiece<16>(to + count - 16, from + count - 16);
    } else if (count >= 8) {
        detail::CopyEnds<8>(to, from, count);
    } else if (count >= 4) {
        detail::CopyEnds<4>(to, from, count);
    } else if (count >= 2) {
        detail::CopyEnds<2>(to, from, count);
    } else if (count == 1) {
        *to = *from;
    }
}

} // namespace zq

#ifdef __GNUC__
#pragma GCC diagnostic pop
#endif
