// The hash of a variable's name. It is of the wyhash family (Wang Yi's
// public-domain hash: blocks of 16 bytes folded by a 128-bit product). Its keys differ between processes, so
// that names cannot be chosen to collide.
//
// Portable.
#pragma once

#include "base/SameText.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zq {

namespace detail {

// The 128-bit product of both, folded: every input bit reaches every output bit.
inline uint64_t MixMultiply(uint64_t a, uint64_t b) {
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64U);
}

} // namespace detail

// What makes the hash unpredictable: whoever chooses names in a file cannot know it. Blocks of a name meet
// these words only, no constants, for a factor of zero would make a product forget the other one.
struct NameKeys {
    explicit NameKeys(uint64_t seed);

    uint64_t first;
    uint64_t second;
};

// Those of the process, made when it starts.
extern const NameKeys kNameKeys;

// The hash of a name that is given in parts: what many names begin with is hashed once for all of them.
class NameHasher {
public:
    explicit NameHasher(const NameKeys& keys = kNameKeys) : m_state(keys.first ^ keys.second) {}
    // What a hasher is after it took so many units.
    NameHasher(uint64_t state, size_t takenUnits) : m_state(state), m_taken(takenUnits * sizeof(wchar_t)) {}
    uint64_t State() const { return m_state; }

    // Hashes the front of a part that more may follow, in whole blocks. Returns how many units that were: the
    // others are given again, in front of what follows.
    size_t Take(std::wstring_view part, const NameKeys& keys = kNameKeys) {
        const size_t bytes = part.size() * sizeof(wchar_t);
        const size_t taken = bytes == 0 ? 0 : (bytes - 1) / kBlock * kBlock;
        m_state = HashBlocks(reinterpret_cast<const char*>(part.data()), taken, keys);
        m_taken += taken;
        return taken / sizeof(wchar_t);
    }

    // The hash of the name whose units after those taken are `rest`.
    uint32_t Finish(std::wstring_view rest, const NameKeys& keys = kNameKeys) const {
        const char* bytes = reinterpret_cast<const char*>(rest.data());
        const size_t size = rest.size() * sizeof(wchar_t);
        const size_t whole = size == 0 ? 0 : (size - 1) / kBlock * kBlock;
        const uint64_t state = HashBlocks(bytes, whole, keys);
        const detail::TwoWords last = detail::LoadUpTo16(bytes + whole, size - whole);
        const uint64_t mixed = detail::MixMultiply(last.low ^ keys.second, last.high ^ state);
        const uint64_t length = m_taken + size;
        return static_cast<uint32_t>(detail::MixMultiply(mixed ^ length, keys.second) >> 32U);
    }

private:
    static constexpr size_t kBlock = 2 * sizeof(uint64_t);

    uint64_t HashBlocks(const char* bytes, size_t count, const NameKeys& keys) const {
        uint64_t state = m_state;
        for (const char* const end = bytes + count; bytes != end; bytes += kBlock) {
            const detail::TwoWords words = detail::LoadUpTo16(bytes, kBlock);
            state = detail::MixMultiply(words.low ^ keys.first, words.high ^ state);
        }
        return state;
    }

    uint64_t m_state;
    size_t m_taken = 0; // bytes
};

inline uint32_t HashName(std::wstring_view name, const NameKeys& keys = kNameKeys) {
    return NameHasher(keys).Finish(name, keys);
}

} // namespace zq
