// A text in pieces of eight or four units, the last of which may overlap the one before: for what is done to
// every unit of a name, which has a few dozen of them.
//
// Portable; in pieces where a unit has two bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <emmintrin.h>

namespace zq {

inline __m128i LoadEightUnits(const wchar_t* units) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
}
inline __m128i LoadFourUnits(const wchar_t* units) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(units));
}
inline __m128i WidenEightBytes(const std::byte* bytes) {
    return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes)), _mm_setzero_si128());
}
inline __m128i WidenFourBytes(const std::byte* bytes) {
    int32_t four = 0;
    std::memcpy(&four, bytes, sizeof(four));
    return _mm_unpacklo_epi8(_mm_cvtsi32_si128(four), _mm_setzero_si128());
}
inline bool IsZero(__m128i bits) {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(bits, _mm_setzero_si128())) == 0xFFFF;
}

// Calls eight(offset) and four(offset) for pieces of so many units, the last of which may overlap the one
// before, or one(offset) for each of up to three units.
template <class Eight, class Four, class One>
[[gnu::always_inline]] inline void ForEachPiece(size_t count, Eight eight, Four four, One one) {
    constexpr bool kHasPieces = sizeof(wchar_t) == 2;
    if (kHasPieces && count >= 8) {
        for (size_t offset = 0; offset + 8 < count; offset += 8) {
            eight(offset);
        }
        eight(count - 8);
    } else if (kHasPieces && count >= 4) {
        four(size_t{0});
        four(count - 4);
    } else {
        for (size_t offset = 0; offset < count; ++offset) {
            one(offset);
        }
    }
}

} // namespace zq
