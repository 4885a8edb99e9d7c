// Whether two texts are the same. The library's comparison of wide text is a call, and goes unit by unit
// here.
//
// Portable.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace zq {

namespace detail {

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

// Up to 16 bytes by loads of fixed size, which overlap where there are fewer bytes. The bytes of a text are
// an even number.
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

inline bool IsSameText(std::wstring_view a, std::wstring_view b) {
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
