#include "variables/VariableMaps.h"

#include "variables/VariableBatch.h"

#include <utility>
#include <vector>

namespace zq {

namespace {

// The entries of one map that a batch writes. Making them may fail and is undone then; filling them cannot
// fail.
template <class Value>
class PendingWrites {
public:
    explicit PendingWrites(VariableMap<Value>& map) : m_map(map) {}
    PendingWrites(const PendingWrites&) = delete;
    PendingWrites& operator=(const PendingWrites&) = delete;

    ~PendingWrites() {
        if (!m_isFilled) {
            for (const Write& write : m_writes) {
                if (write.isNew) {
                    m_map.Remove(write.node->Name(), write.node->hash);
                }
            }
        }
    }

    void Add(std::wstring_view name, uint32_t hash, Value value) {
        m_writes.emplace_back();
        const auto [node, isNew] = m_map.FindOrAdd(name, hash);
        m_writes.back() = {node, isNew, std::move(value)};
    }

    void Fill() noexcept {
        for (Write& write : m_writes) {
            write.node->value = std::move(write.value);
        }
        m_isFilled = true;
    }

private:
    struct Write {
        typename VariableMap<Value>::Node* node = nullptr;
        bool isNew = false;
        Value value{};
    };

    VariableMap<Value>& m_map;
    std::vector<Write> m_writes;
    bool m_isFilled = false;
};

} // namespace

void VariableMaps::Apply(const VariableBatch& batch) {
    PendingWrites<uint8_t> newBools(bools);
    PendingWrites<int64_t> newIntegers(integers);
    PendingWrites<double> newDoubles(doubles);
    PendingWrites<std::wstring> newStrings(strings);

    using Kind = VariableBatch::Kind;
    for (const VariableBatch::Entry& entry : batch.Entries()) {
        const std::wstring_view name = batch.NameOf(entry);
        const uint32_t hash = Hash(name);
        switch (entry.kind) {
        case Kind::Bool:
            newBools.Add(name, hash, entry.boolean);
            break;
        case Kind::Number:
            newDoubles.Add(name, hash, static_cast<double>(entry.integer));
            [[fallthrough]];
        case Kind::Int64:
            newIntegers.Add(name, hash, entry.integer);
            break;
        case Kind::Double:
            newDoubles.Add(name, hash, entry.real);
            break;
        case Kind::String:
            newStrings.Add(name, hash, std::wstring(VariableBatch::TextOf(entry)));
            break;
        }
    }

    newBools.Fill();
    newIntegers.Fill();
    newDoubles.Fill();
    newStrings.Fill();
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
