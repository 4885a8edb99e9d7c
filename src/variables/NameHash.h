// The hash of a variable's name, and the comparison of two. The hash is of the wyhash family (Wang Yi's
// public-domain hash: blocks of 16 bytes folded by a 128-bit product, with its constants). It is seeded for
// each store, so that names cannot be chosen to collide.
//
// Portable.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace zq {

namespace detail {

// The 128-bit product of both, folded: every input bit reaches every output bit.
inline uint64_t MixMultiply(uint64_t a, uint64_t b) {
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64U);
}

template <class Word>
Word Load(const char* bytes) {
    Word word;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

struct TwoWords {
    uint64_t low;
    uint64_t high;
};

// Up to 16 bytes by loads of fixed size, which overlap where there are fewer bytes. A name's bytes are an
// even number.
inline TwoWords LoadUpTo16(const char* bytes, size_t count) {
    if (count >= 8) {
        return {Load<uint64_t>(bytes), Load<uint64_t>(bytes + count - 8)};
    }
    if (count >= 4) {
        return {Load<uint32_t>(bytes), Load<uint32_t>(bytes + count - 4)};
    }
    return {count == 0 ? uint64_t{0} : Load<uint16_t>(bytes), 0};
}

} // namespace detail

inline uint32_t HashName(std::wstring_view name, uint64_t seed) {
    constexpr uint64_t kFirst = 0xA0761D6478BD642FULL;
    constexpr uint64_t kSecond = 0xE7037ED1A0B428DBULL;
    constexpr size_t kWord = sizeof(uint64_t);

    const char* bytes = reinterpret_cast<const char*>(name.data());
    size_t left = name.size() * sizeof(wchar_t);
    uint64_t state = seed ^ (left * kFirst);
    for (; left > 2 * kWord; left -= 2 * kWord, bytes += 2 * kWord) {
        const detail::TwoWords words = detail::LoadUpTo16(bytes, 2 * kWord);
        state = detail::MixMultiply(words.low ^ kFirst, words.high ^ state);
    }
    const detail::TwoWords last = detail::LoadUpTo16(bytes, left);
    state = detail::MixMultiply(last.low ^ kSecond, last.high ^ state);
    return static_cast<uint32_t>(detail::MixMultiply(state ^ kFirst, seed ^ kSecond) >> 32U);
}

// Whether both names have the same units. The library's comparison of wide text goes unit by unit here.
inline bool IsSameName(std::wstring_view a, std::wstring_view b) {
    if (a.size() != b.size()) {
        return false;
    }
    const char* left = reinterpret_cast<const char*>(a.data());
    const char* right = reinterpret_cast<const char*>(b.data());
    size_t count = a.size() * sizeof(wchar_t);
    for (; count > 2 * sizeof(uint64_t); count -= sizeof(uint64_t)) {
        if (detail::Load<uint64_t>(left) != detail::Load<uint64_t>(right)) {
            return false;
        }
        left += sizeof(uint64_t);
        right += sizeof(uint64_t);
    }
    const detail::TwoWords leftEnd = detail::LoadUpTo16(left, count);
    const detail::TwoWords rightEnd = detail::LoadUpTo16(right, count);
    return leftEnd.low == rightEnd.low && leftEnd.high == rightEnd.high;
}

} // namespace zq
