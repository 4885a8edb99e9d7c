// Assignments collected in order, to be written into the maps all at once: what a loader makes of one file.
//
// Portable. Names are copied; the texts of strings are not and must outlive the batch.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zq {

class VariableBatch {
public:
    enum class Kind : uint8_t {
        Bool,
        Int64,  // the integer map alone
        Number, // a whole number of a file: the integer and the double map
        Double,
        String
    };

    struct Entry {
        Kind kind;
        uint32_t nameLength;
        size_t nameOffset;
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
    std::wstring_view NameOf(const Entry& entry) const {
        return std::wstring_view(m_names).substr(entry.nameOffset, entry.nameLength);
    }
    static std::wstring_view TextOf(const Entry& entry) { return {entry.text, entry.textLength}; }

private:
    Entry& Append(Kind kind, std::wstring_view name) {
        Entry& entry = m_entries.emplace_back();
        entry.kind = kind;
        entry.nameLength = static_cast<uint32_t>(name.size());
        entry.nameOffset = m_names.size();
        m_names += name;
        return entry;
    }

    std::vector<Entry> m_entries;
    std::wstring m_names;
};

} // namespace zq
