// Looks for the units that end a plain stretch of a string: the reader's innermost loop, eight units a step
// where a wide character has 16 bits.
//
// Portable.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#ifdef _WIN32
#include <emmintrin.h>
#endif

namespace zq {

// The place of the first quote or backslash from `place` on, or `length`.
inline int32_t FindQuoteOrBackslash(const wchar_t* text, int32_t place, int32_t length) {
#ifdef _WIN32
    constexpr int32_t kStep = 8;
    const __m128i quote = _mm_set1_epi16(L'"');
    const __m128i backslash = _mm_set1_epi16(L'\\');
    for (; length - place >= kStep; place += kStep) {
        const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + place));
        const __m128i found = _mm_or_si128(_mm_cmpeq_epi16(units, quote), _mm_cmpeq_epi16(units, backslash));
        const auto bits = static_cast<uint32_t>(_mm_movemask_epi8(found));
        if (bits != 0) {
            return place + std::countr_zero(bits) / 2;
        }
    }
#endif
    while (place < length && text[place] != L'"' && text[place] != L'\\') {
        ++place;
    }
    return place;
}

} // namespace zq
