// A name that is being built: grown on the way down in a tree of names, cut on the way up.
//
// Portable.
#pragma once

#include "base/ShortCopy.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace zq {

class NameBuffer {
public:
    explicit NameBuffer(std::wstring_view prefix = {}) { Append(prefix); }
    NameBuffer(const NameBuffer&) = delete;
    NameBuffer& operator=(const NameBuffer&) = delete;

    size_t Length() const { return m_length; }
    void CutTo(size_t length) { m_length = length; }

    // Appends a key, after a point unless it is the first.
    void AppendKey(std::wstring_view key) {
        Reserve(key.size() + 1);
        if (m_length != 0) {
            m_units[m_length++] = L'.';
        }
        Put(key);
    }
    void Append(std::wstring_view text) {
        Reserve(text.size());
        Put(text);
    }
    // Appends so many units, which are to be written at once.
    wchar_t* Extend(size_t units) {
        Reserve(units);
        m_length += units;
        return m_units + m_length - units;
    }
    void Replace(std::wstring_view text) {
        m_length = 0;
        Append(text);
    }

    // Ends with a zero. Valid until the name changes.
    const wchar_t* CString() {
        Reserve(1);
        m_units[m_length] = L'\0';
        return m_units;
    }
    std::wstring_view View() const { return {m_units, m_length}; }
    std::wstring String() const { return std::wstring(View()); }

private:
    static constexpr size_t kFirstUnits = 128;

    void Reserve(size_t units) {
        if (units > m_capacity - m_length) {
            Grow(m_length + units);
        }
    }
    [[gnu::noinline]] void Grow(size_t units) {
        const size_t capacity = std::max(2 * m_capacity, units);
        auto larger = std::make_unique_for_overwrite<wchar_t[]>(capacity);
        std::copy_n(m_units, m_length, larger.get());
        m_larger = std::move(larger);
        m_units = m_larger.get();
        m_capacity = capacity;
    }
    void Put(std::wstring_view text) {
        CopyShort(m_units + m_length, text.data(), text.size() * sizeof(wchar_t));
        m_length += text.size();
    }

    std::array<wchar_t, kFirstUnits> m_first; // NOLINT(*-member-init): written before it is read
    std::unique_ptr<wchar_t[]> m_larger;
    wchar_t* m_units = m_first.data();
    size_t m_capacity = kFirstUnits;
    size_t m_length = 0;
};

} // namespace zq
