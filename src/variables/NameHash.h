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

// The hash of a name that is given in parts: what many names begin with is hashed once for all of them.
class NameHasher {
public:
    explicit NameHasher(uint64_t seed) : m_seed(seed), m_state(seed) {}

    // Hashes the front of a part that more may follow, in whole blocks. Returns how many units that were: the
    // others are given again, in front of what follows.
    size_t Take(std::wstring_view part) {
        const size_t bytes = part.size() * sizeof(wchar_t);
        const size_t taken = bytes == 0 ? 0 : (bytes - 1) / kBlock * kBlock;
        m_state = HashBlocks(reinterpret_cast<const char*>(part.data()), taken);
        m_taken += taken;
        return taken / sizeof(wchar_t);
    }

    // The hash of the name whose units after those taken are `rest`.
    uint32_t Finish(std::wstring_view rest) const {
        const char* bytes = reinterpret_cast<const char*>(rest.data());
        const size_t size = rest.size() * sizeof(wchar_t);
        const size_t whole = size == 0 ? 0 : (size - 1) / kBlock * kBlock;
        const uint64_t state = HashBlocks(bytes, whole);
        const detail::TwoWords last = detail::LoadUpTo16(bytes + whole, size - whole);
        const uint64_t mixed = detail::MixMultiply(last.low ^ kSecond, last.high ^ state);
        const uint64_t length = m_taken + size;
        return static_cast<uint32_t>(detail::MixMultiply(mixed ^ kFirst ^ length, m_seed ^ kSecond) >> 32U);
    }

private:
    static constexpr uint64_t kFirst = 0xA0761D6478BD642FULL;
    static constexpr uint64_t kSecond = 0xE7037ED1A0B428DBULL;
    static constexpr size_t kBlock = 2 * sizeof(uint64_t);

    uint64_t HashBlocks(const char* bytes, size_t count) const {
        uint64_t state = m_state;
        for (const char* const end = bytes + count; bytes != end; bytes += kBlock) {
            const detail::TwoWords words = detail::LoadUpTo16(bytes, kBlock);
            state = detail::MixMultiply(words.low ^ kFirst, words.high ^ state);
        }
        return state;
    }

    uint64_t m_seed;
    uint64_t m_state;
    size_t m_taken = 0; // bytes
};

inline uint32_t HashName(std::wstring_view name, uint64_t seed) { return NameHasher(seed).Finish(name); }

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
