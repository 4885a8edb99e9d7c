// Assignments collected in order, to be written into the maps all at once: what a loader makes of one file.
//
// Portable, one thread at a time. Names are copied; the texts of strings are not and must outlive the batch.
#pragma once

#include "base/Arena.h"
#include "base/ShortCopy.h"
#include "variables/NamePrefix.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <vector>

namespace zq {

class VariableBatch {
public:
    // How the names of entries are kept: each whole, or without the long prefixes that they share.
    enum class Names : uint8_t { Whole, SharePrefixes };

    // Adding and applying raise Cancelled where `cancellation`, which may be null, asks for it.
    explicit VariableBatch(Names names = Names::Whole, const Cancellation* cancellation = nullptr)
        : m_names(names), m_cancellation(cancellation) {
        m_memory.StopOn(cancellation);
    }
    VariableBatch(const VariableBatch&) = delete;
    VariableBatch& operator=(const VariableBatch&) = delete;

    enum class Kind : uint8_t {
        Bool,
        Int64,  // the integer map only
        Number, // a whole number of a file: the integer and the double map
        Double,
        String
    };

    struct Entry {
        Kind kind;
        uint32_t nameLength; // without the prefix
        const wchar_t* name;
        union {
            uint8_t boolean;
            int64_t integer;
            double real;
            const wchar_t* text;
        };
        size_t textLength;
        const NamePrefix* prefix; // null where the name is whole
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

    // Names that are added from now on start with `prefix`, which they are given with all the same. Null for
    // none.
    void UsePrefix(const NamePrefix* prefix) { m_prefix = prefix; }
    // The prefix for names that start with `name`, of which `outer` is a prefix: a longer one where it is
    // worth sharing, otherwise `outer`. Raises std::bad_alloc.
    const NamePrefix* PrefixFor(const NamePrefix* outer, std::wstring_view name) {
        const size_t known = outer ? outer->length : 0;
        return m_names == Names::Whole || name.size() - known < kSharedPrefixUnits
                   ? outer
                   : m_prefixes.Share(outer, name.substr(known));
    }

    // Entries by index, in pages that never move.
    class EntryList {
    public:
        class Iterator {
        public:
            using iterator_category = std::forward_iterator_tag;
            using value_type = Entry;
            using difference_type = std::ptrdiff_t;
            using pointer = const Entry*;
            using reference = const Entry&;

            Iterator() = default;
            Iterator(const EntryList* list, size_t index) : m_list(list), m_index(index) {}
            reference operator*() const { return (*m_list)[m_index]; }
            pointer operator->() const { return &**this; }
            Iterator& operator++() {
                ++m_index;
                return *this;
            }
            Iterator operator++(int) { return {m_list, m_index++}; }
            bool operator==(const Iterator&) const = default;

        private:
            const EntryList* m_list = nullptr;
            size_t m_index = 0;
        };

        size_t size() const { return m_size; }
        bool empty() const { return m_size == 0; }
        const Entry& operator[](size_t index) const { return m_pages[index / kPage][index % kPage]; }
        Iterator begin() const { return {this, 0}; }
        Iterator end() const { return {this, m_size}; }
        // A new last one, not yet filled. Raises std::bad_alloc.
        Entry& Add(Arena& memory) {
            if (m_size == m_pages.size() * kPage) {
                m_pages.push_back(memory.Allocate<Entry>(kPage));
            }
            return m_pages.back()[m_size++ % kPage];
        }

    private:
        static constexpr size_t kPage = 512;

        std::vector<Entry*> m_pages;
        size_t m_size = 0;
    };

    const EntryList& Entries() const { return m_entries; }
    const Cancellation* CancelledBy() const { return m_cancellation; }
    size_t Count(Kind kind) const { return m_counts[static_cast<size_t>(kind)]; }
    // What follows the prefix: the whole name where there is none.
    static std::wstring_view NameOf(const Entry& entry) { return {entry.name, entry.nameLength}; }
    static std::wstring_view TextOf(const Entry& entry) { return {entry.text, entry.textLength}; }

private:
    Entry& Append(Kind kind, std::wstring_view name) {
        name.remove_prefix(m_prefix ? m_prefix->length : 0);
        const wchar_t* copy = CopyName(name);
        Entry& entry = m_entries.Add(m_memory);
        entry.kind = kind;
        entry.nameLength = static_cast<uint32_t>(name.size());
        entry.name = copy;
        entry.prefix = m_prefix;
        ++m_counts[static_cast<size_t>(kind)];
        return entry;
    }

    const wchar_t* CopyName(std::wstring_view name) {
        auto* copy = m_memory.Allocate<wchar_t>(name.size());
        CopyShort(copy, name.data(), name.size() * sizeof(wchar_t));
        return copy;
    }

    Names m_names;
    const Cancellation* m_cancellation;
    EntryList m_entries;
    std::array<size_t, 5> m_counts{}; // by Kind
    Arena m_memory{Arena::Life::Short};
    NamePrefixes m_prefixes;
    const NamePrefix* m_prefix = nullptr; // of the names that are added
};

} // namespace zq
