#include "variables/VariableMaps.h"

#include "variables/VariableBatch.h"

#include <array>
#include <numeric>
#include <utility>
#include <vector>

namespace zq {

namespace {

// What a batch writes into one map, undone unless it is kept: a batch that fails half-way leaves no trace.
template <class Value>
class TentativeWrites {
public:
    // `count` is how many writes will come at most.
    TentativeWrites(VariableMap<Value>& map, size_t count) : m_map(map) {
        if (count != 0) {
            m_added.reserve(count);
            m_map.Reserve(count);
        }
    }
    TentativeWrites(const TentativeWrites&) = delete;
    TentativeWrites& operator=(const TentativeWrites&) = delete;

    ~TentativeWrites() {
        for (auto write = m_replaced.rbegin(); write != m_replaced.rend(); ++write) {
            write->node->value = std::move(write->value);
        }
        for (const Node* node : m_added) {
            m_map.Remove(node->Name(), node->hash);
        }
    }

    void Set(std::wstring_view name, uint32_t hash, Value value) {
        const auto [node, isNew] = m_map.FindOrAdd(name, hash);
        if (isNew) {
            m_added.push_back(node);
            node->value = std::move(value);
        } else {
            m_replaced.push_back({node, Value()});
            m_replaced.back().value = std::exchange(node->value, std::move(value));
        }
    }

    void Keep() noexcept {
        m_added.clear();
        m_replaced.clear();
    }

private:
    using Node = typename VariableMap<Value>::Node;
    struct Replaced {
        Node* node;
        Value value; // before
    };

    VariableMap<Value>& m_map;
    std::vector<Node*> m_added;
    std::vector<Replaced> m_replaced;
};

// Where an entry of a batch belongs.
struct SortedEntry {
    uint32_t hash;
    uint32_t entry; // its index
};

// By the upper half of the hash, and within that in the order of the batch: the order of the maps' buckets.
void SortByBucket(std::vector<SortedEntry>& order) {
    constexpr unsigned kDigitBits = 8;
    std::vector<SortedEntry> sorted(order.size());
    for (const unsigned shift : {16U, 24U}) {
        const auto digitOf = [shift](const SortedEntry& item) { return item.hash >> shift & 0xFFU; };
        std::array<size_t, 1U << kDigitBits> starts{};
        for (const SortedEntry& item : order) {
            ++starts[digitOf(item)];
        }
        std::exclusive_scan(starts.begin(), starts.end(), starts.begin(), size_t{0});
        for (const SortedEntry& item : order) {
            sorted[starts[digitOf(item)]++] = item;
        }
        order.swap(sorted);
    }
}

// Calls write(entry, hash) for each entry. A large batch goes bucket by bucket: the maps' memory is visited
// from one end to the other then, and new nodes lie in the order in which they are packed later.
template <class HashOf, class Write>
void ForEachByBucket(const VariableBatch& batch, HashOf hashOf, Write write) {
    constexpr size_t kWorthSorting = 4096;
    constexpr size_t kAhead = 8;
    const std::vector<VariableBatch::Entry>& entries = batch.Entries();
    if (entries.size() < kWorthSorting || entries.size() > UINT32_MAX) {
        for (const VariableBatch::Entry& entry : entries) {
            write(entry, hashOf(VariableBatch::NameOf(entry)));
        }
        return;
    }
    std::vector<SortedEntry> order;
    order.reserve(entries.size());
    for (const VariableBatch::Entry& entry : entries) {
        order.push_back({hashOf(VariableBatch::NameOf(entry)), static_cast<uint32_t>(order.size())});
    }
    SortByBucket(order);
    for (size_t i = 0; i < order.size(); ++i) {
        if (i + 2 * kAhead < order.size()) {
            __builtin_prefetch(&entries[order[i + 2 * kAhead].entry]);
            __builtin_prefetch(entries[order[i + kAhead].entry].name);
        }
        write(entries[order[i].entry], order[i].hash);
    }
}

} // namespace

void VariableMaps::Apply(const VariableBatch& batch) {
    using Kind = VariableBatch::Kind;
    TentativeWrites<uint8_t> newBools(bools, batch.Count(Kind::Bool));
    TentativeWrites<int64_t> newIntegers(integers, batch.Count(Kind::Int64) + batch.Count(Kind::Number));
    TentativeWrites<double> newDoubles(doubles, batch.Count(Kind::Double) + batch.Count(Kind::Number));
    TentativeWrites<std::wstring> newStrings(strings, batch.Count(Kind::String));

    const auto write = [&](const VariableBatch::Entry& entry, uint32_t hash) {
        const std::wstring_view name = VariableBatch::NameOf(entry);
        switch (entry.kind) {
        case Kind::Bool:
            newBools.Set(name, hash, entry.boolean);
            break;
        case Kind::Number:
            newDoubles.Set(name, hash, static_cast<double>(entry.integer));
            [[fallthrough]];
        case Kind::Int64:
            newIntegers.Set(name, hash, entry.integer);
            break;
        case Kind::Double:
            newDoubles.Set(name, hash, entry.real);
            break;
        case Kind::String:
            newStrings.Set(name, hash, std::wstring(VariableBatch::TextOf(entry)));
            break;
        }
    };
    ForEachByBucket(
        batch, [this](std::wstring_view name) { return Hash(name); }, write);

    newBools.Keep();
    newIntegers.Keep();
    newDoubles.Keep();
    newStrings.Keep();
}

void VariableMaps::RemoveBinaries() noexcept {
    binaries.ForEach([](std::wstring_view, BinaryBlock* block) { BinaryBlock::Free(block); });
    binaries.Clear();
}

void VariableMaps::RemoveAll() noexcept {
    RemoveBinaries();
    strings.Clear();
    doubles.Clear();
    integers.Clear();
    bools.Clear();
}

} // namespace zq
