#include "variables/VariableMaps.h"

#include "variables/VariableBatch.h"

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

} // namespace

void VariableMaps::Apply(const VariableBatch& batch) {
    using Kind = VariableBatch::Kind;
    TentativeWrites<uint8_t> newBools(bools, batch.Count(Kind::Bool));
    TentativeWrites<int64_t> newIntegers(integers, batch.Count(Kind::Int64) + batch.Count(Kind::Number));
    TentativeWrites<double> newDoubles(doubles, batch.Count(Kind::Double) + batch.Count(Kind::Number));
    TentativeWrites<std::wstring> newStrings(strings, batch.Count(Kind::String));

    for (const VariableBatch::Entry& entry : batch.Entries()) {
        const std::wstring_view name = VariableBatch::NameOf(entry);
        const uint32_t hash = Hash(name);
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
    }

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
