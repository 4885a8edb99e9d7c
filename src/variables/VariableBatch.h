// Assignments collected in order, to be written into the maps all at once: what a loader makes of one file.
//
// Portable, one thread at a time. Names are copied, but for those that are said to last; the texts of strings
// are not and must outlive the batch.
#pragma once

#include "base/Arena.h"
#include "base/ShortCopy.h"
#include "variables/NamePrefix.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace zq {

// What the names of many entries begin with: a piece after that of the parent, which may be null.
struct BatchPrefix {
    const BatchPrefix* parent;
    const BatchPrefix* shared; // the nearest from here up that the maps share, or null
    const wchar_t* piece;
    uint32_t pieceLength;
    uint32_t length; // of all pieces
    uint32_t number; // in its batch, from 1 on
};

// The name of an entry. One that lasts outlives the batch and need not be copied.
struct BatchName {
    BatchName(std::wstring_view name) : text(name) {} // NOLINT(google-explicit-constructor): a name is a text
    BatchName(const wchar_t* name) : text(name) {}    // NOLINT(google-explicit-constructor)
    BatchName(const std::wstring& name) : text(name) {} // NOLINT(google-explicit-constructor)
    static BatchName Lasting(std::wstring_view name) {
        BatchName lasting(name);
        lasting.lasts = true;
        return lasting;
    }

    std::wstring_view text;
    bool lasts = false;
};

class VariableBatch {
public:
    // How the names of entries are kept: each whole, or without the prefixes that they share.
    enum class Names : uint8_t { Whole, SharePrefixes };
    // Shorter beginnings are not worth sharing while a batch is made.
    static constexpr size_t kPrefixUnits = 16;

    // Adding and applying raise Cancelled where `cancellation`, which may be null, asks for it.
    explicit VariableBatch(Names names = Names::Whole, const Cancellation* cancellation = nullptr)
        : m_names(names), m_cancellation(cancellation) {
        m_memory.StopOn(cancellation);
        m_texts.StopOn(cancellation);
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
        const wchar_t* name;
        union {
            uint8_t boolean;
            int64_t integer;
            double real;
            const wchar_t* text;
        };
        uint32_t nameLength; // without the prefix
        uint32_t textLength;
        uint32_t prefix; // its number, from 1 on; 0 where the name is whole
        Kind kind;
    };
    static_assert(sizeof(Entry) == 32);

    void AddBool(const BatchName& name, uint8_t value) { Append(Kind::Bool, name).boolean = value; }
    void AddInt64(const BatchName& name, int64_t value) { Append(Kind::Int64, name).integer = value; }
    void AddNumber(const BatchName& name, int64_t value) { Append(Kind::Number, name).integer = value; }
    void AddDouble(const BatchName& name, double value) { Append(Kind::Double, name).real = value; }
    // Texts of 4 G characters and more raise std::bad_alloc.
    void AddString(const BatchName& name, std::wstring_view text) {
        const uint32_t length = LengthOf(text);
        Entry& entry = Append(Kind::String, name);
        entry.text = text.data();
        entry.textLength = length;
    }

    // Names that are added from now on start with `prefix`, which they are given with all the same. Null for
    // none.
    void UsePrefix(const BatchPrefix* prefix) { m_prefix = prefix; }
    // The prefix for names that start with `name`, of which `outer` is a prefix: a longer one where it is
    // worth sharing, otherwise `outer`. Raises std::bad_alloc.
    const BatchPrefix* PrefixFor(const BatchPrefix* outer, std::wstring_view name) {
        const size_t known = outer ? outer->length : 0;
        return m_names == Names::Whole || name.size() - known < kPrefixUnits ? outer
                                                                             : MakePrefix(outer, name);
    }

    // A prefix for names that start with `name`, however short it is; null where names are kept whole. Raises
    // std::bad_alloc.
    const BatchPrefix* MakePrefix(std::wstring_view name) {
        return m_names == Names::Whole ? nullptr : MakePrefix(nullptr, name);
    }

    // Entries by index, in pages that never move.
    template <class T>
    class List {
    public:
        class Iterator {
        public:
            using iterator_category = std::forward_iterator_tag;
            using value_type = T;
            using difference_type = std::ptrdiff_t;
            using pointer = const T*;
            using reference = const T&;

            Iterator() = default;
            Iterator(const List* list, size_t index) : m_list(list), m_index(index) {}
            reference operator*() const { return (*m_list)[m_index]; }
            pointer operator->() const { return &**this; }
            Iterator& operator++() {
                ++m_index;
                return *this;
            }
            Iterator operator++(int) { return {m_list, m_index++}; }
            bool operator==(const Iterator&) const = default;

        private:
            const List* m_list = nullptr;
            size_t m_index = 0;
        };

        size_t size() const { return m_size; }
        bool empty() const { return m_size == 0; }
        const T& operator[](size_t index) const { return m_pages[index / kPage][index % kPage]; }
        Iterator begin() const { return {this, 0}; }
        Iterator end() const { return {this, m_size}; }
        // A new last one, not yet filled. Raises std::bad_alloc.
        T& Add(Arena& memory) {
            if (m_size == m_pages.size() * kPage) {
                m_pages.push_back(memory.Allocate<T>(kPage));
            }
            return m_pages.back()[m_size++ % kPage];
        }

    private:
        static constexpr size_t kPage = 512;

        std::vector<T*> m_pages;
        size_t m_size = 0;
    };
    using EntryList = List<Entry>;

    const EntryList& Entries() const { return m_entries; }
    // Null where the name is whole.
    const BatchPrefix* PrefixOf(const Entry& entry) const {
        return entry.prefix == 0 ? nullptr : &m_prefixes[entry.prefix - 1];
    }
    const Cancellation* CancelledBy() const { return m_cancellation; }
    size_t Count(Kind kind) const { return m_counts[static_cast<size_t>(kind)]; }
    // What follows the prefix: the whole name where there is none.
    static std::wstring_view NameOf(const Entry& entry) { return {entry.name, entry.nameLength}; }
    static std::wstring_view TextOf(const Entry& entry) { return {entry.text, entry.textLength}; }

private:
    static uint32_t LengthOf(std::wstring_view text) {
        if (text.size() > UINT32_MAX) {
            throw std::bad_alloc();
        }
        return static_cast<uint32_t>(text.size());
    }

    Entry& Append(Kind kind, const BatchName& name) {
        std::wstring_view rest = name.text;
        rest.remove_prefix(m_prefix ? m_prefix->length : 0);
        const uint32_t length = LengthOf(rest);
        const wchar_t* kept = name.lasts && m_names == Names::SharePrefixes ? rest.data() : CopyText(rest);
        Entry& entry = m_entries.Add(m_memory);
        entry.name = kept;
        entry.nameLength = length;
        entry.textLength = 0;
        entry.prefix = m_prefix ? m_prefix->number : 0;
        entry.kind = kind;
        ++m_counts[static_cast<size_t>(kind)];
        return entry;
    }

    [[gnu::noinline]] const BatchPrefix* MakePrefix(const BatchPrefix* outer, std::wstring_view name) {
        const uint32_t length = LengthOf(name);
        const std::wstring_view piece = name.substr(outer ? outer->length : 0);
        const BatchPrefix* shared = outer ? outer->shared : nullptr;
        const wchar_t* copy = CopyText(piece);
        BatchPrefix& prefix = m_prefixes.Add(m_memory);
        prefix = {outer,  shared,
                  copy,   static_cast<uint32_t>(piece.size()),
                  length, static_cast<uint32_t>(m_prefixes.size())};
        if (name.size() - (shared ? shared->length : 0) >= kSharedPrefixUnits) {
            prefix.shared = &prefix;
        }
        return &prefix;
    }

    const wchar_t* CopyText(std::wstring_view text) {
        auto* copy = m_texts.Allocate<wchar_t>(text.size());
        CopyShort(copy, text.data(), text.size() * sizeof(wchar_t));
        return copy;
    }

    Names m_names;
    const Cancellation* m_cancellation;
    EntryList m_entries;
    List<BatchPrefix> m_prefixes;
    std::array<size_t, 5> m_counts{}; // by Kind
    Arena m_memory{Arena::Life::Short};
    Arena m_texts{Arena::Life::Short, alignof(wchar_t)};
    const BatchPrefix* m_prefix = nullptr; // of the names that are added
};

} // namespace zq
