// A text in the map of strings. A short one that comes with a new name is kept in the room that its node has
// after the name: both lie together, and there is nothing more to allocate and to free. Any other text has
// memory of its own.
//
// Portable, no locks: the map's owner serialises.
#pragma once

#include "base/ShortCopy.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

namespace zq {

class StoredText {
public:
    // The characters that the node of a new text has room for: as many as the text has, but none for a long
    // one, whose memory is better freed when another text replaces it.
    static constexpr size_t RoomFor(size_t length) {
        constexpr size_t kMostInNode = 64;
        return length <= kMostInNode ? length : 0;
    }

    StoredText() = default;
    // With memory of its own. Raises std::bad_alloc.
    explicit StoredText(std::wstring_view text) {
        if (text.size() > std::numeric_limits<uint32_t>::max()) {
            throw std::bad_alloc();
        }
        if (!text.empty()) {
            Put(text, new wchar_t[text.size()]);
            m_isOwned = true;
        }
    }
    // In `room`, which outlives it. REQUIRES: the text fits there.
    StoredText(std::wstring_view text, wchar_t* room) noexcept { Put(text, room); }
    StoredText(StoredText&& other) noexcept { Swap(other); }
    StoredText& operator=(StoredText&& other) noexcept {
        StoredText old(std::move(*this));
        Swap(other);
        return *this;
    }
    ~StoredText() {
        if (m_isOwned) {
            delete[] m_units;
        }
    }

    std::wstring_view View() const { return {m_units, m_length}; }
    operator std::wstring_view() const { return View(); }
    bool operator==(std::wstring_view text) const { return View() == text; }

private:
    void Put(std::wstring_view text, wchar_t* to) noexcept {
        CopyShort(to, text.data(), text.size() * sizeof(wchar_t));
        m_units = to;
        m_length = static_cast<uint32_t>(text.size());
    }
    void Swap(StoredText& other) noexcept {
        std::swap(m_units, other.m_units);
        std::swap(m_length, other.m_length);
        std::swap(m_isOwned, other.m_isOwned);
    }

    wchar_t* m_units = nullptr;
    uint32_t m_length = 0;
    bool m_isOwned = false;
};

} // namespace zq
