// Converts bytes of a code page with one byte for each character to wide text, sixteen at a time while they
// are ASCII.
//
// Portable.
#pragma once

#include "base/Arena.h"

#include <cstddef>
#include <string_view>

#include <emmintrin.h>

namespace zq {

namespace detail {

constexpr size_t kWidenStep = 16;

// Converts sixteen bytes if all of them are ASCII. Returns whether they are.
inline bool WidenAsciiBlock(wchar_t* out, const unsigned char* bytes) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    if (_mm_movemask_epi8(block) != 0) {
        return false;
    }
    if constexpr (sizeof(wchar_t) == 2) {
        const __m128i zero = _mm_setzero_si128();
        auto* to = reinterpret_cast<__m128i*>(out);
        _mm_storeu_si128(to, _mm_unpacklo_epi8(block, zero));
        _mm_storeu_si128(to + 1, _mm_unpackhi_epi8(block, zero));
    } else {
        for (size_t i = 0; i < kWidenStep; ++i) {
            out[i] = static_cast<wchar_t>(bytes[i]);
        }
    }
    return true;
}

} // namespace detail

// Writes `count` characters. `table` has one character for each byte; its first half is ASCII.
inline void WidenBytes(wchar_t* out, const unsigned char* bytes, size_t count, const wchar_t* table) {
    const unsigned char* const end = bytes + count;
    while (static_cast<size_t>(end - bytes) >= detail::kWidenStep) {
        if (!detail::WidenAsciiBlock(out, bytes)) {
            for (size_t i = 0; i < detail::kWidenStep; ++i) {
                out[i] = table[bytes[i]];
            }
        }
        bytes += detail::kWidenStep;
        out += detail::kWidenStep;
    }
    while (bytes != end) {
        *out++ = table[*bytes++];
    }
}

// The same into an arena. `readable` bytes, at least `count`, may be read, so that a short text inside a
// longer one takes one step.
inline std::wstring_view WidenIntoArena(Arena& arena, const unsigned char* bytes, size_t count,
                                        size_t readable, const wchar_t* table) {
    if (count <= detail::kWidenStep && readable >= detail::kWidenStep) {
        auto* out = static_cast<wchar_t*>(arena.Room(detail::kWidenStep * sizeof(wchar_t)));
        if (!detail::WidenAsciiBlock(out, bytes)) {
            WidenBytes(out, bytes, count, table);
        }
        arena.Take(count * sizeof(wchar_t));
        return {out, count};
    }
    auto* out = arena.Allocate<wchar_t>(count);
    WidenBytes(out, bytes, count, table);
    return {out, count};
}

} // namespace zq
