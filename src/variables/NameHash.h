// The hash of a variable's name. Seeded for each store, so that names cannot be chosen to collide.
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

inline uint64_t LoadUpTo8(const char* bytes, size_t count) {
    uint64_t value = 0;
    std::memcpy(&value, bytes, count);
    return value;
}

} // namespace detail

inline uint32_t HashName(std::wstring_view name, uint64_t seed) {
    constexpr uint64_t kFirst = 0xA0761D6478BD642FULL;
    constexpr uint64_t kSecond = 0xE7037ED1A0B428DBULL;
    constexpr size_t kWord = sizeof(uint64_t);

    const char* bytes = reinterpret_cast<const char*>(name.data());
    size_t left = name.size() * sizeof(wchar_t);
    uint64_t state = seed ^ (left * kFirst);
    while (left >= 2 * kWord) {
        state = detail::MixMultiply(detail::LoadUpTo8(bytes, kWord) ^ kFirst,
                                    detail::LoadUpTo8(bytes + kWord, kWord) ^ state);
        bytes += 2 * kWord;
        left -= 2 * kWord;
    }
    const size_t low = left < kWord ? left : kWord;
    state = detail::MixMultiply(detail::LoadUpTo8(bytes, low) ^ kSecond,
                                detail::LoadUpTo8(bytes + low, left - low) ^ state);
    return static_cast<uint32_t>(detail::MixMultiply(state ^ kFirst, seed ^ kSecond) >> 32U);
}

} // namespace zq
