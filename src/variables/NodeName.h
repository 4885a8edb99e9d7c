// The characters of a name as a node keeps them: a byte each where all of them fit, as those of nearly all
// names do, otherwise as they are. Half the memory of a map of numbers would be zeros.
//
// Portable.
#pragma once

#include "base/UnitPieces.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace zq {

class NodeName {
public:
    // Of a node's memory.
    NodeName(const void* memory, size_t size, bool isInBytes)
        : m_memory(static_cast<const std::byte*>(memory)), m_size(size), m_isInBytes(isInBytes) {}

    // What a name takes: a multiple of the size of a character, so that a text may follow.
    static size_t BytesOf(size_t size, bool isInBytes) {
        return isInBytes ? (size + sizeof(wchar_t) - 1) / sizeof(wchar_t) * sizeof(wchar_t)
                         : size * sizeof(wchar_t);
    }
    // Writes a byte for each character. Returns whether a byte is enough; what was written is of no use
    // otherwise.
    static bool PutInBytes(std::byte* out, std::wstring_view name) {
        const wchar_t* units = name.data();
        __m128i all = _mm_setzero_si128();
        uint32_t others = 0;
        ForEachPiece(
            name.size(),
            [&](size_t i) {
                const __m128i eight = LoadEightUnits(units + i);
                all = _mm_or_si128(all, eight);
                _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi16(eight, eight));
            },
            [&](size_t i) {
                const __m128i four = LoadFourUnits(units + i);
                all = _mm_or_si128(all, four);
                const int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(four, four));
                std::memcpy(out + i, &bytes, sizeof(bytes));
            },
            [&](size_t i) {
                others |= static_cast<uint32_t>(units[i]);
                out[i] = static_cast<std::byte>(units[i]);
            });
        return others < 256 && IsZero(_mm_srli_epi16(all, 8));
    }

    size_t size() const { return m_size; }
    size_t Bytes() const { return BytesOf(m_size, m_isInBytes); }
    bool IsInBytes() const { return m_isInBytes; }
    // Its last characters.
    NodeName Last(size_t count) const {
        return {m_memory + (m_size - count) * UnitBytes(), count, m_isInBytes};
    }
    NodeName WithoutLast(size_t count) const { return {m_memory, m_size - count, m_isInBytes}; }

    // Writes size() characters, which need not be aligned.
    void CopyTo(void* memory) const {
        if (!m_isInBytes) {
            std::memcpy(memory, m_memory, m_size * sizeof(wchar_t));
            return;
        }
        auto* out = static_cast<std::byte*>(memory);
        const std::byte* bytes = m_memory;
        ForEachPiece(
            m_size,
            [=](size_t i) {
                auto* eight = reinterpret_cast<__m128i*>(out + i * sizeof(wchar_t));
                _mm_storeu_si128(eight, WidenEightBytes(bytes + i));
            },
            [=](size_t i) {
                auto* four = reinterpret_cast<__m128i*>(out + i * sizeof(wchar_t));
                _mm_storel_epi64(four, WidenFourBytes(bytes + i));
            },
            [=](size_t i) {
                const auto unit = static_cast<wchar_t>(bytes[i]);
                std::memcpy(out + i * sizeof(unit), &unit, sizeof(unit));
            });
    }

    bool operator==(std::wstring_view name) const {
        if (m_size != name.size()) {
            return false;
        }
        if (!m_isInBytes) {
            return std::memcmp(m_memory, name.data(), m_size * sizeof(wchar_t)) == 0;
        }
        const std::byte* bytes = m_memory;
        const wchar_t* units = name.data();
        __m128i different = _mm_setzero_si128();
        bool isSame = true;
        ForEachPiece(
            m_size,
            [&](size_t i) {
                different = _mm_or_si128(
                    different, _mm_xor_si128(WidenEightBytes(bytes + i), LoadEightUnits(units + i)));
            },
            [&](size_t i) {
                different = _mm_or_si128(different,
                                         _mm_xor_si128(WidenFourBytes(bytes + i), LoadFourUnits(units + i)));
            },
            [&](size_t i) { isSame &= static_cast<wchar_t>(bytes[i]) == units[i]; });
        return isSame && IsZero(different);
    }

private:
    size_t UnitBytes() const { return m_isInBytes ? 1 : sizeof(wchar_t); }

    const std::byte* m_memory;
    size_t m_size;
    bool m_isInBytes;
};

} // namespace zq
