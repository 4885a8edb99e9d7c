// One batch on its way into the maps: what needs no lock is done before and after the maps are touched.
//
// The constructor hashes and orders the names; ApplyTo writes, with the owner's lock held, and keeps the
// values that it replaced; the destructor frees those, after the lock. A value that is held already is left
// as it is.
//
// Portable, no locks.
#pragma once

#include "variables/VariableBatch.h"
#include "variables/VariableMaps.h"

#include <cstdint>
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

    // Writes the whole batch in its order, or, when memory runs out (std::bad_alloc) or the
    // batch is cancelled (Cancelled), nothing of it. Called
    // once, for maps of the same seed.
    void ApplyTo(VariableMaps& maps);

private:
    struct Item {
        uint32_t hash;
        uint32_t entry; // its index
    };

    // What was done to one map.
    template <class Value>
    struct Writes {
        using Node = typename VariableMap<Value>::Node;
        struct Replaced {
            Node* node;
            Value value; // before
        };

        void Undo(VariableMap<Value>& map) noexcept;

        std::vector<Node*> added;
        std::vector<Replaced> replaced;
    };

    void SortByBucket();
    std::wstring_view WholeName(const VariableBatch::Entry& entry);
    const NamePrefix* StoredPrefix(VariableMaps& maps, const NamePrefix* prefix);
    void Reserve(VariableMaps& maps) const;
    void WriteAll(VariableMaps& maps);
    void Write(VariableMaps& maps, const VariableBatch::Entry& entry, uint32_t hash);
    template <class Value, class Given>
    void Set(VariableMaps& maps, VariableMap<Value>& map, Writes<Value>& writes,
             const VariableBatch::Entry& entry, uint32_t hash, const Given& given);

    const VariableBatch& m_batch;
    std::vector<Item> m_items;
    Writes<uint8_t> m_bools;
    Writes<int64_t> m_integers;
    Writes<double> m_doubles;
    Writes<std::wstring> m_strings;

    std::wstring m_name;                      // the last name with a prefix, whole
    const NamePrefix* m_namePrefix = nullptr; // and its prefix
    std::unordered_map<const NamePrefix*, const NamePrefix*>
        m_storedPrefixes; // the maps' own, by the batch's
};

} // namespace zq
