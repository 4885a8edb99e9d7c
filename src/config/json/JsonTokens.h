// The innermost loops of the JSON reader: where a token ends. Sixteen bytes a step, which every x86-64
// processor can.
//
// Portable. A text is read as wide units or as the bytes of a code page whose every byte is one character;
// its ASCII half is ASCII, so the grammar is the same. Offsets count units from the start of the text.
#pragma once

#include "config/json/JsonScalar.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include <emmintrin.h>

namespace zq {

using JsonByte = unsigned char;

namespace detail {

// Sixteen bytes of a text, as far as their units have up to 16 bits. A mask has a bit for each byte.
template <class Unit>
class UnitBlock {
public:
    static constexpr bool kExists = sizeof(Unit) <= 2;
    static constexpr int32_t kUnits = static_cast<int32_t>(16 / sizeof(Unit));

    explicit UnitBlock(const Unit* units)
        : m_units(_mm_loadu_si128(reinterpret_cast<const __m128i*>(units))) {
        // Otherwise GCC 12 writes them to the stack and reads them back, on the way that each key waits for.
        __asm__("" : "+x"(m_units));
    }

    uint32_t Equal(char unit) const { return Mask(EqualTo(unit)); }
    uint32_t EitherOf(char a, char b) const { return Mask(_mm_or_si128(EqualTo(a), EqualTo(b))); }
    // Between `first` and `last`, both included.
    uint32_t InRange(char first, char last) const {
        const __m128i span = Fill(static_cast<char>(last - first));
        if constexpr (sizeof(Unit) == 1) {
            const __m128i above = _mm_sub_epi8(m_units, Fill(first));
            return Mask(_mm_cmpeq_epi8(_mm_min_epu8(above, span), above));
        } else {
            const __m128i above = _mm_sub_epi16(m_units, Fill(first));
            return Mask(_mm_cmpeq_epi16(_mm_subs_epu16(above, span), _mm_setzero_si128()));
        }
    }
    // How many units a number of mask bits is, and the other way round.
    static int32_t Units(int bits) { return bits / static_cast<int32_t>(sizeof(Unit)); }
    static unsigned Bits(int32_t units) { return static_cast<unsigned>(units) * sizeof(Unit); }

private:
    static __m128i Fill(char unit) {
        if constexpr (sizeof(Unit) == 1) {
            return _mm_set1_epi8(unit);
        } else {
            return _mm_set1_epi16(unit);
        }
    }
    __m128i EqualTo(char unit) const {
        if constexpr (sizeof(Unit) == 1) {
            return _mm_cmpeq_epi8(Fill(unit), m_units);
        } else {
            return _mm_cmpeq_epi16(Fill(unit), m_units);
        }
    }
    static uint32_t Mask(__m128i bytes) { return static_cast<uint32_t>(_mm_movemask_epi8(bytes)); }

    __m128i m_units;
};

} // namespace detail

inline constexpr uint32_t kWholeJsonBlock = 0xFFFF; // the mask of all sixteen bytes

template <class Unit>
bool IsJsonSpace(Unit unit) {
    return unit >= 1 && unit <= 32;
}

template <class Unit>
bool IsJsonDigit(Unit unit) {
    return unit >= '0' && unit <= '9';
}

// The offset of the first unit from `offset` on that is not white space, or `length`.
template <class Unit>
inline int32_t SkipJsonSpace(const Unit* text, int32_t offset, int32_t length) {
    // None and one are what is there between the tokens of a line.
    for (int i = 0; i < 2; ++i, ++offset) {
        if (offset < length && !IsJsonSpace(text[offset])) {
            return offset;
        }
    }
    offset -= 2;
    if constexpr (detail::UnitBlock<Unit>::kExists) {
        using Block = detail::UnitBlock<Unit>;
        for (; length - offset >= Block::kUnits; offset += Block::kUnits) {
            const uint32_t other = ~Block(text + offset).InRange(1, 32) & kWholeJsonBlock;
            if (other != 0) {
                return offset + Block::Units(std::countr_zero(other));
            }
        }
    }
    while (offset < length && IsJsonSpace(text[offset])) {
        ++offset;
    }
    return offset;
}

// The offset of the first quote or backslash from `offset` on, or `length`.
template <class Unit>
inline int32_t FindQuoteOrBackslash(const Unit* text, int32_t offset, int32_t length) {
    if constexpr (detail::UnitBlock<Unit>::kExists) {
        using Block = detail::UnitBlock<Unit>;
        for (; length - offset >= Block::kUnits; offset += Block::kUnits) {
            const uint32_t found = Block(text + offset).EitherOf('"', '\\');
            if (found != 0) {
                return offset + Block::Units(std::countr_zero(found));
            }
        }
    }
    while (offset < length && text[offset] != '"' && text[offset] != '\\') {
        ++offset;
    }
    return offset;
}

// The offset of the quote that ends a string, from inside the string on, or `length`. A block is compared
// once, however many escapes are in it.
template <class Unit>
inline int32_t FindClosingQuote(const Unit* text, int32_t offset, int32_t length) {
    if constexpr (detail::UnitBlock<Unit>::kExists) {
        using Block = detail::UnitBlock<Unit>;
        while (length - offset >= Block::kUnits) {
            uint32_t found = Block(text + offset).EitherOf('"', '\\');
            int32_t done = Block::kUnits; // more where an escape reaches beyond the block
            while (found != 0) {
                const int32_t unit = Block::Units(std::countr_zero(found));
                if (text[offset + unit] == '"') {
                    return offset + unit;
                }
                const int32_t next = unit + EscapeUnits(text + offset + unit, length - offset - unit);
                if (next >= Block::kUnits) {
                    done = next;
                    break;
                }
                found &= kWholeJsonBlock << Block::Bits(next);
            }
            offset += done;
        }
    }
    offset = FindQuoteOrBackslash(text, offset, length);
    while (offset < length && text[offset] != '"') {
        offset += EscapeUnits(text + offset, length - offset);
        offset = FindQuoteOrBackslash(text, offset, length);
    }
    return offset;
}

// The offset after the string that starts at `offset`.
template <class Unit>
inline int32_t SkipJsonString(const Unit* text, int32_t offset, int32_t length) {
    return std::min(FindClosingQuote(text, offset + 1, length) + 1, length);
}

// The offset of the last such unit, or -1.
template <class Unit>
inline int32_t FindLastUnit(const Unit* text, int32_t length, Unit wanted) {
    while (--length >= 0 && text[length] != wanted) {
    }
    return length;
}

struct JsonNumberEnd {
    int32_t end;   // -1 where there are two points
    int32_t point; // -1 where there is none
};

// Where digits with at most one point end. `offset` is after the sign.
template <class Unit>
inline JsonNumberEnd FindNumberEnd(const Unit* text, int32_t offset, int32_t length) {
    int32_t point = -1;
    if constexpr (detail::UnitBlock<Unit>::kExists) {
        using Block = detail::UnitBlock<Unit>;
        for (; length - offset >= Block::kUnits; offset += Block::kUnits) {
            const Block block(text + offset);
            uint32_t points = block.Equal('.');
            const uint32_t other = ~(block.InRange('0', '9') | points) & kWholeJsonBlock;
            const int end = other == 0 ? 16 : std::countr_zero(other);
            points &= (1U << static_cast<unsigned>(end)) - 1;
            if (points != 0) {
                const int first = std::countr_zero(points);
                const uint32_t unitMask = (1U << sizeof(Unit)) - 1;
                if (point >= 0 || points != unitMask << static_cast<unsigned>(first)) {
                    return {-1, point};
                }
                point = offset + Block::Units(first);
            }
            if (other != 0) {
                return {offset + Block::Units(end), point};
            }
        }
    }
    for (; offset < length && (IsJsonDigit(text[offset]) || text[offset] == '.'); ++offset) {
        if (text[offset] == '.') {
            if (point >= 0) {
                return {-1, point};
            }
            point = offset;
        }
    }
    return {offset, point};
}

// How many units the number at `offset` has, or -1: a number must be followed by some unit.
template <class Unit>
inline int32_t JsonNumberUnits(const Unit* text, int32_t offset, int32_t length) {
    const int32_t sign = text[offset] == '+' || text[offset] == '-' ? 1 : 0;
    const int32_t end = FindNumberEnd(text, offset + sign, length).end;
    return end < 0 || end == length ? -1 : end - offset;
}

// How many units the literal at `offset`, which begins like one, has, or -1.
template <class Unit>
inline int32_t JsonLiteralUnits(const Unit* text, int32_t offset, int32_t length) {
    constexpr unsigned kLowerCase = 0x20; // turns an upper-case letter into the lower-case one
    const auto lower = [&](int32_t i) { return static_cast<uint32_t>(text[offset + i]) | kLowerCase; };
    const auto is = [&](std::string_view word) {
        const auto units = static_cast<int32_t>(word.size());
        for (int32_t i = 0; i < units; ++i) {
            if (length - offset < units ||
                lower(i) != static_cast<unsigned char>(word[static_cast<size_t>(i)])) {
                return false;
            }
        }
        return true;
    };
    switch (lower(0)) {
    case 't':
        return is("true") ? 4 : -1;
    case 'f':
        return is("false") ? 5 : -1;
    default:
        return is("null") ? 4 : -1;
    }
}

} // namespace zq
