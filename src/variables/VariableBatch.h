// Assignments collected in order, to be written into the maps all at once: what a loader makes of one file.
//
// Portable. Names are copied; the texts of strings are not and must outlive the batch.
#pragma once

#include "base/Arena.h"
#include "base/ShortCopy.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zq {

class VariableBatch {
public:
    enum class Kind : uint8_t {
        Bool,
        Int64,  // the integer map only
        Number, // a whole number of a file: the integer and the double map
        Double,
        String
    };

    struct Entry {
        Kind kind;
        uint32_t nameLength;
        const wchar_t* name;
        union {
            uint8_t boolean;
            int64_t integer;
            double real;
            const wchar_t* text;
        };
        size_t textLength;
    };

    void AddBool(std::wstring_view name, uint8_t value) { Append(Kind::Bool, name).boolean = value; }
    void AddInt64(std::wstring_view name, int64_t value) { Append(Kind::Int64, name).integer = value; }
    void AddNumber(std::wstring_view name, int64_t value) { Append(Kind::Number, name).integer = value; }
    void AddDouble(std::wstring_view name, double value) { Append(Kind::Double, name).real = value; }
    void AddString(std::wstring_view name, std::wstring_view text) {
        Entry& entry = Append(Kind::String, name);
        entry.text = text.data();
        entry.textLength = text.size();
    }

    const std::vector<Entry>& Entries() const { return m_entries; }
    size_t Count(Kind kind) const { return m_counts[static_cast<size_t>(kind)]; }
    static std::wstring_view NameOf(const Entry& entry) { return {entry.name, entry.nameLength}; }
    static std::wstring_view TextOf(const Entry& entry) { return {entry.text, entry.textLength}; }

private:
    static constexpr size_t kFirstEntries = 64;

    Entry& Append(Kind kind, std::wstring_view name) {
        const wchar_t* copy = CopyName(name);
        if (m_entries.empty()) {
            m_entries.reserve(kFirstEntries);
        }
        Entry& entry = m_entries.emplace_back();
        entry.kind = kind;
        entry.nameLength = static_cast<uint32_t>(name.size());
        entry.name = copy;
        ++m_counts[static_cast<size_t>(kind)];
        return entry;
    }

    const wchar_t* CopyName(std::wstring_view name) {
        auto* copy = m_names.Allocate<wchar_t>(name.size());
        CopyShort(copy, name.data(), name.size() * sizeof(wchar_t));
        return copy;
    }

    std::vector<Entry> m_entries;
    std::array<size_t, 5> m_counts{}; // by Kind
    Arena m_names;
};

} // namespace zq
