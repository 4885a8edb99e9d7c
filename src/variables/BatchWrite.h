// One batch on its way into the maps: what needs no lock is done before and after the maps are touched.
//
// The constructor hashes the names; ApplyTo writes, with the owner's lock held, and keeps the values that it
// replaced; the destructor frees those, after the lock. A value that is held already is left as it is. The
// memory of a batch that is given away is freed while it is written: the new nodes take it over.
//
// Portable, no locks.
#pragma once

#include "base/NameBuffer.h"
#include "variables/BatchProgress.h"
#include "variables/NameHash.h"
#include "variables/VariableBatch.h"
#include "variables/VariableMaps.h"

#include <cstdint>
#include <forward_list>
#include <string>
#include <unordered_map>
#include <vector>

namespace zq {

class BatchWrite {
public:
    // The batch must outlive the object. Raises std::bad_alloc.
    explicit BatchWrite(const VariableBatch& batch);
    // The same, and leaves nothing of the batch that could be used.
    explicit BatchWrite(VariableBatch&& batch) : BatchWrite(static_cast<const VariableBatch&>(batch)) {
        m_givenAway = &batch;
    }
    BatchWrite(const BatchWrite&) = delete;
    BatchWrite& operator=(const BatchWrite&) = delete;

    // Writes the whole batch in its order, or, when memory runs out (std::bad_alloc) or the batch is
    // cancelled (Cancelled), nothing of it. Called once.
    void ApplyTo(VariableMaps& maps);

private:
    // A name as the maps take it.
    struct Name {
        std::wstring_view rest; // after the prefix
        const NamePrefix* prefix;
        uint32_t hash;
    };

    // The values of one map that were replaced.
    template <class Map, class Value>
    struct Replacements {
        using Node = typename Map::Node;
        struct Replaced {
            Node* node;
            Value value; // before
        };

        void Replace(Map& map, Node* node, Value&& value);
        void Undo(Map& map) noexcept;

        static constexpr size_t kPage = 128;
        // Newest first. A page never moves: there may be as many replaced values as entries.
        std::forward_list<std::vector<Replaced>> pages;
    };
    template <class Value>
    using MapReplacements = Replacements<VariableMap<Value>, Value>;

    class BucketsAhead;

    // The entry's name after the prefix that the maps share. Valid until the next one is asked for.
    std::wstring_view RestOf(const VariableBatch::Entry& entry);
    uint32_t HashOf(const VariableBatch::Entry& entry);
    void AssembleName(const VariableBatch::Entry& entry, const BatchPrefix* prefix);
    void UsePrefix(const BatchPrefix* prefix);
    // The maps' own prefix of an entry, or null.
    const NamePrefix* PrefixOf(const VariableBatch::Entry& entry, VariableMaps& maps);
    [[gnu::cold]] const NamePrefix* StoredPrefix(const BatchPrefix* prefix, VariableMaps& maps);
    void Reserve(VariableMaps& maps) const;
    void WriteAll(VariableMaps& maps);
    // These return the node that was added where the name is new, otherwise null.
    template <class Value, class Given>
    static typename VariableMap<Value>::Node*
    Set(VariableMap<Value>& map, MapReplacements<Value>& replacements, const Name& name, Given given);
    NumberMap::Node* SetNumber(NumberMap& map, const Name& name, const Number& given);
    NumberMap::Node* SetHalf(NumberMap& map, const Name& name, const Number& given);
    EntryProgress Write(VariableMaps& maps, const VariableBatch::Entry& entry, uint32_t hash);
    void AddHalf(NumberMap& map, const Name& name, const Number& half);
    [[gnu::cold]] void Undo(VariableMaps& maps) noexcept;

    const VariableBatch& m_batch;
    VariableBatch* m_givenAway = nullptr;
    BatchProgress m_progress;
    size_t m_written = 0; // entries
    MapReplacements<uint8_t> m_bools;
    Replacements<NumberMap, Number> m_numbers;
    std::vector<NumberMap::Node*> m_addedHalves; // of names that were there already
    MapReplacements<StoredText> m_strings;
    std::unordered_map<const BatchPrefix*, const NamePrefix*> m_stored; // prefixes in the maps

    // The prefix in use, and a buffer that begins with its end: with what is not hashed yet, and with what
    // follows the prefix that the maps share.
    const BatchPrefix* m_prefix = nullptr;
    NameBuffer m_name;
    size_t m_prefixUnits = 0; // in front of an entry's name
    size_t m_sharedUnits = 0; // of the shared prefix
    size_t m_hashedUnits = 0; // that are hashed
};

} // namespace zq
