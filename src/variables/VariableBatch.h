// Assignments collected in order, to be written into the maps all at once: what a loader makes of one file.
//
// Portable, one thread at a time. Names are copied, but for those that are said to last; the texts of strings
// are not and must outlive the batch.
#pragma once

#include "base/Arena.h"
#include "base/ShortCopy.h"
#include "variables/BatchRecords.h"
#include "variables/ExpectedEntries.h"
#include "variables/NameHash.h"
#include "variables/NamePrefix.h"
#include "variables/StoredText.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
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
    uint32_t hashedUnits;
    uint64_t hashState; // with those units

    NameHasher Hasher() const { return {hashState, hashedUnits}; }
};

// The name of an entry.
struct BatchName {
    // Not explicit: a name is a text.
    BatchName(std::wstring_view name) : text(name) {}
    BatchName(const wchar_t* name) : text(name) {}
    BatchName(const std::wstring& name) : text(name) {}
    // One that outlives the batch and need not be copied.
    static BatchName Lasting(std::wstring_view name) {
        BatchName lasting(name);
        lasting.naming = BatchRecords::Naming::Outside;
        return lasting;
    }
    // One whose rest, after the prefix in use, is `number` in decimal digits.
    static BatchName Numbered(std::wstring_view name, uint32_t number) {
        BatchName numbered(name);
        numbered.naming = BatchRecords::Naming::Numbered;
        numbered.number = number;
        return numbered;
    }

    std::wstring_view text;
    BatchRecords::Naming naming = BatchRecords::Naming::Copied; // as far as it is worth it
    uint32_t number = 0;
};

class VariableBatch {
public:
    // How the names of entries are kept: each whole, or without the prefixes that they share.
    enum class Names : uint8_t { Whole, SharePrefixes };
    // Shorter beginnings are not worth sharing while a batch is made.
    static constexpr size_t kPrefixUnits = 32;

    // Adding and applying raise Cancelled where `cancellation`, which may be null, asks for it.
    explicit VariableBatch(Names names = Names::Whole, const Cancellation* cancellation = nullptr)
        : m_names(names), m_cancellation(cancellation) {
        m_memory.StopOn(cancellation);
        m_recordMemory.StopOn(cancellation);
    }
    VariableBatch(const VariableBatch&) = delete;
    VariableBatch& operator=(const VariableBatch&) = delete;

    using Kind = BatchKind;
    using Entry = BatchEntry;

    void AddBool(const BatchName& name, uint8_t value) { Add(Kind::Bool, name, {value}); }
    void AddInt64(const BatchName& name, int64_t value) { Add(Kind::Int64, name, {value}); }
    void AddNumber(const BatchName& name, int64_t value) { Add(Kind::Number, name, {value}); }
    void AddDouble(const BatchName& name, double value) {
        Add(Kind::Double, name, {std::bit_cast<int64_t>(value)});
    }
    // Texts of 4 G characters and more raise std::bad_alloc.
    void AddString(const BatchName& name, std::wstring_view text) {
        Add(Kind::String, name, {static_cast<int64_t>(std::bit_cast<intptr_t>(text.data())), LengthOf(text)});
    }
    // Each of these, by the kind.
    void Add(Kind kind, const BatchName& name, const BatchValue& value) {
        ExpectedEntries& expected = m_expected[static_cast<size_t>(kind)];
        ++expected.count;
        expected.bytes += name.text.size() - m_sharedUnits + // nearly every name is kept in bytes
                          StoredText::RoomFor(value.textLength) * sizeof(wchar_t);
        std::wstring_view rest = name.text;
        rest.remove_prefix(m_prefixUnits);
        if (name.naming == Naming::Copied) {
            m_records.Add(m_recordMemory, kind, {Naming::Copied, m_prefixNumber, LengthOf(rest), rest.data()},
                          value);
        } else {
            AddUncopied(kind, name, rest, value);
        }
    }

    // Names that are added from now on start with `prefix`, which they are given with all the same. Null for
    // none.
    void UsePrefix(const BatchPrefix* prefix) {
        m_prefixNumber = prefix ? prefix->number : 0;
        m_prefixUnits = prefix ? prefix->length : 0;
        m_sharedUnits = prefix && prefix->shared ? prefix->shared->length : 0;
    }
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

    const BatchRecords& Entries() const { return m_records; }
    // That of the entries alone, for whoever frees them while going through them for the last time.
    Arena& RecordMemory() { return m_recordMemory; }
    // Null where the name is whole.
    const BatchPrefix* PrefixOf(const Entry& entry) const {
        return entry.prefix == 0 ? nullptr : m_prefixes[entry.prefix - 1];
    }
    const Cancellation* CancelledBy() const { return m_cancellation; }
    const ExpectedEntries& Expected(Kind kind) const { return m_expected[static_cast<size_t>(kind)]; }
    // What follows the prefix: the whole name where there is none. REQUIRES: the name is no number.
    static std::wstring_view NameOf(const Entry& entry) { return {entry.name, entry.nameLength}; }
    static std::wstring_view TextOf(const Entry& entry) { return {entry.text, entry.textLength}; }

private:
    using Naming = BatchRecords::Naming;

    static uint32_t LengthOf(std::wstring_view text) {
        if (text.size() > UINT32_MAX) {
            throw std::bad_alloc();
        }
        return static_cast<uint32_t>(text.size());
    }

    [[gnu::noinline]] void AddUncopied(Kind kind, const BatchName& name, std::wstring_view rest,
                                       const BatchValue& value) {
        if (name.naming == Naming::Numbered && m_prefixNumber != 0) {
            m_records.Add(m_recordMemory, kind, {Naming::Numbered, m_prefixNumber, name.number, nullptr},
                          value);
            return;
        }
        // A pointer to a short name would not be smaller.
        const bool isOutside = name.naming == Naming::Outside && m_names == Names::SharePrefixes &&
                               rest.size() * sizeof(wchar_t) > sizeof(rest.data());
        m_records.Add(
            m_recordMemory, kind,
            {isOutside ? Naming::Outside : Naming::Copied, m_prefixNumber, LengthOf(rest), rest.data()},
            value);
    }

    [[gnu::noinline]] const BatchPrefix* MakePrefix(const BatchPrefix* outer, std::wstring_view name) {
        if (m_prefixes.size() == BatchRecords::kLastPrefix) {
            return outer;
        }
        const uint32_t length = LengthOf(name);
        const std::wstring_view piece = name.substr(outer ? outer->length : 0);
        auto* copy = m_memory.Allocate<wchar_t>(piece.size());
        CopyShort(copy, piece.data(), piece.size() * sizeof(wchar_t));
        auto* prefix = m_memory.Allocate<BatchPrefix>(1);
        m_prefixes.push_back(prefix);
        NameHasher hasher = outer ? outer->Hasher() : NameHasher();
        const uint32_t known = outer ? outer->hashedUnits : 0;
        const auto hashed = known + static_cast<uint32_t>(hasher.Take(name.substr(known)));
        *prefix = {
            outer,  outer ? outer->shared : nullptr,          copy,   static_cast<uint32_t>(piece.size()),
            length, static_cast<uint32_t>(m_prefixes.size()), hashed, hasher.State()};
        if (length - (prefix->shared ? prefix->shared->length : 0) >= kSharedPrefixUnits) {
            prefix->shared = prefix;
        }
        return prefix;
    }

    Names m_names;
    const Cancellation* m_cancellation;
    BatchRecords m_records;
    std::vector<const BatchPrefix*> m_prefixes; // by number
    std::array<ExpectedEntries, 5> m_expected;  // by Kind
    Arena m_memory;                             // of the prefixes
    Arena m_recordMemory{Arena::Life::Short};

    // The prefix of the names that are added, and what of it the maps share.
    uint32_t m_prefixNumber = 0;
    size_t m_prefixUnits = 0;
    size_t m_sharedUnits = 0;
};

} // namespace zq
