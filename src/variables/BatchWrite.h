// One batch on its way into the maps: what needs no lock is done before and after the maps are touched.
//
// The constructor hashes and orders the names; ApplyTo writes, with the owner's lock held, and keeps the
// values that it replaced; the destructor frees those, after the lock. A value that is held already is left
// as it is.
//
// Portable, no locks.
#pragma once

#include "variables/NameHash.h"
#include "variables/VariableBatch.h"
#include "variables/VariableMaps.h"

#include <cstdint>
#include <forward_list>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace zq {

class BatchWrite {
public:
    // The batch must outlive the object. Raises std::bad_alloc.
    BatchWrite(const VariableBatch& batch, uint64_t hashSeed);
    BatchWrite(const BatchWrite&) = delete;
    BatchWrite& operator=(const BatchWrite&) = delete;

    // Writes the whole batch in its order, or, when memory runs out (std::bad_alloc) or the batch is
    // cancelled (Cancelled), nothing of it. Called once, for maps of the same seed.
    void ApplyTo(VariableMaps& maps);

private:
    using Position = BatchRecords::Position;

    static constexpr uint32_t kNewName = uint32_t{1} << BatchRecords::kPositionBits; // in the map of its type
    static constexpr uint32_t kNewDouble = 2 * kNewName; // and a number's in that of doubles

    struct Item {
        uint32_t hash;
        uint32_t positionAndMarks; // the entry's; the top bits are set where names are added

        Position At() const { return positionAndMarks & (kNewName - 1); }
        bool IsNew() const { return positionAndMarks >= kNewName; }
    };

    // A name as the maps take it.
    struct Name {
        std::wstring_view rest; // after the prefix
        const NamePrefix* prefix;
        uint32_t hash;
    };

    // A prefix that names in the maps share.
    struct SharedPrefix {
        NameHasher hasher;                  // with all of it but
        std::wstring open;                  // its last units
        const NamePrefix* stored = nullptr; // the maps' own
    };

    // The values of one map that were replaced.
    template <class Value>
    struct Replacements {
        using Node = typename VariableMap<Value>::Node;
        struct Replaced {
            Node* node;
            Value value; // before
        };

        void Replace(Node* node, Value&& value);
        void Undo() noexcept;

        static constexpr size_t kPage = 128;
        // Newest first. A page never moves: there may be as many replaced values as entries.
        std::forward_list<std::vector<Replaced>> pages;
    };

    void SortByBucket();
    static void SortRun(std::span<Item> run, std::span<Item> sorted);
    void UsePrefix(const BatchPrefix* prefix);
    [[gnu::cold]] SharedPrefix& Shared(const BatchPrefix* prefix);
    uint32_t HashOf(const VariableBatch::Entry& entry);
    // The name after the prefix that the maps share.
    std::wstring_view NameOf(const VariableBatch::Entry& entry);
    std::wstring_view NameAfterPrefix(const wchar_t* name, uint32_t length, const BatchPrefix* prefix);
    [[gnu::cold]] const NamePrefix* StoredPrefix(VariableMaps& maps, const BatchPrefix* prefix);
    void Reserve(VariableMaps& maps) const;
    void WriteAll(VariableMaps& maps);
    inline void Write(VariableMaps& maps, Item& item); // a part of WriteAll
    // Returns whether the name is new.
    template <class Value, class Given>
    static bool Set(VariableMap<Value>& map, Replacements<Value>& replacements, const Name& name,
                    Given given);
    [[gnu::cold]] void Undo(VariableMaps& maps) noexcept;
    [[gnu::cold]] void RemoveNew(VariableMaps& maps, const Item& item) noexcept;

    const VariableBatch& m_batch;
    const uint64_t m_hashSeed;
    std::vector<Item> m_items;
    Replacements<uint8_t> m_bools;
    Replacements<int64_t> m_integers;
    Replacements<double> m_doubles;
    Replacements<StoredText> m_strings;
    std::unordered_map<const BatchPrefix*, SharedPrefix> m_shared;

    // The prefix in use, and a buffer that begins with what of it is not hashed yet, the units that follow
    // the shared prefix among them.
    const BatchPrefix* m_prefix = nullptr;
    std::wstring m_name;
    size_t m_sharedUnits = 0; // at the front of the buffer: the end of the shared prefix
    size_t m_prefixUnits = 0; // in front of an entry's name
    NameHasher m_hasher;      // with what of the prefix fills whole blocks
    size_t m_hashedUnits = 0; // of the buffer
};

} // namespace zq
