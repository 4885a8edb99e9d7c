#include "variables/BatchWrite.h"

#include "base/Cancellation.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <numeric>
#include <utility>

namespace zq {

namespace {

// After so many entries a request to give up is looked for.
constexpr size_t kEntriesBetweenLooks = 4096;

bool IsSameValue(uint8_t held, uint8_t given) { return held == given; }
bool IsSameValue(int64_t held, int64_t given) { return held == given; }
// Bit by bit: -0.0 takes the place of 0.0.
bool IsSameValue(double held, double given) {
    return std::bit_cast<uint64_t>(held) == std::bit_cast<uint64_t>(given);
}
bool IsSameValue(const std::wstring& held, std::wstring_view given) { return IsSameName(held, given); }

} // namespace

template <class Value>
void BatchWrite::Writes<Value>::Undo(VariableMap<Value>& map) noexcept {
    for (auto write = replaced.rbegin(); write != replaced.rend(); ++write) {
        write->node->value = std::move(write->value);
    }
    for (Node* node : added) {
        map.Remove(node);
    }
}

BatchWrite::BatchWrite(const VariableBatch& batch, uint64_t hashSeed) : m_batch(batch) {
    // A large batch goes bucket by bucket: the maps' memory is visited from one end to the other then, and
    // new nodes lie in the order in which they are packed later.
    constexpr size_t kWorthSorting = 4096;
    const VariableBatch::EntryList& entries = batch.Entries();
    assert(entries.size() <= UINT32_MAX); // an entry takes at least one byte of a file
    m_items.reserve(entries.size());
    for (const VariableBatch::Entry& entry : entries) {
        if (m_items.size() % kEntriesBetweenLooks == 0) {
            RaiseIfCancelled(batch.CancelledBy());
        }
        m_items.push_back({HashName(WholeName(entry), hashSeed), static_cast<uint32_t>(m_items.size())});
    }
    if (m_items.size() >= kWorthSorting) {
        SortByBucket();
    }
}

// By the upper half of the hash, and within that in the order of the batch: the order of the maps' buckets.
void BatchWrite::SortByBucket() {
    constexpr unsigned kDigitBits = 8;
    std::vector<Item> sorted(m_items.size());
    for (const unsigned shift : {16U, 24U}) {
        const auto digitOf = [shift](const Item& item) { return item.hash >> shift & 0xFFU; };
        std::array<size_t, 1U << kDigitBits> starts{};
        for (const Item& item : m_items) {
            ++starts[digitOf(item)];
        }
        std::exclusive_scan(starts.begin(), starts.end(), starts.begin(), size_t{0});
        for (const Item& item : m_items) {
            sorted[starts[digitOf(item)]++] = item;
        }
        m_items.swap(sorted);
    }
}

std::wstring_view BatchWrite::WholeName(const VariableBatch::Entry& entry) {
    const std::wstring_view rest = VariableBatch::NameOf(entry);
    if (!entry.prefix) {
        return rest;
    }
    const size_t length = entry.prefix->length;
    if (m_namePrefix != entry.prefix) {
        m_name.resize(length);
        entry.prefix->CopyTo(m_name.data());
        m_namePrefix = entry.prefix;
    }
    m_name.resize(length);
    return m_name.append(rest);
}

void BatchWrite::ApplyTo(VariableMaps& maps) {
    try {
        WriteAll(maps);
    } catch (...) {
        m_bools.Undo(maps.bools);
        m_integers.Undo(maps.integers);
        m_doubles.Undo(maps.doubles);
        m_strings.Undo(maps.strings);
        throw;
    }
}

void BatchWrite::Reserve(VariableMaps& maps) const {
    using Kind = VariableBatch::Kind;
    const auto reserve = [](auto& map, size_t count) {
        if (count != 0) {
            map.Reserve(count);
        }
    };
    reserve(maps.bools, m_batch.Count(Kind::Bool));
    reserve(maps.integers, m_batch.Count(Kind::Int64) + m_batch.Count(Kind::Number));
    reserve(maps.doubles, m_batch.Count(Kind::Double) + m_batch.Count(Kind::Number));
    reserve(maps.strings, m_batch.Count(Kind::String));
}

void BatchWrite::WriteAll(VariableMaps& maps) {
    constexpr size_t kAhead = 8;
    Reserve(maps);
    const VariableBatch::EntryList& entries = m_batch.Entries();
    for (size_t i = 0; i < m_items.size(); ++i) {
        if (i % kEntriesBetweenLooks == 0) {
            RaiseIfCancelled(m_batch.CancelledBy());
        }
        if (i + 2 * kAhead < m_items.size()) {
            __builtin_prefetch(&entries[m_items[i + 2 * kAhead].entry]);
            __builtin_prefetch(entries[m_items[i + kAhead].entry].name);
        }
        Write(maps, entries[m_items[i].entry], m_items[i].hash);
    }
}

void BatchWrite::Write(VariableMaps& maps, const VariableBatch::Entry& entry, uint32_t hash) {
    using Kind = VariableBatch::Kind;
    switch (entry.kind) {
    case Kind::Bool:
        Set(maps, maps.bools, m_bools, entry, hash, entry.boolean);
        break;
    case Kind::Number:
        Set(maps, maps.doubles, m_doubles, entry, hash, static_cast<double>(entry.integer));
        [[fallthrough]];
    case Kind::Int64:
        Set(maps, maps.integers, m_integers, entry, hash, entry.integer);
        break;
    case Kind::Double:
        Set(maps, maps.doubles, m_doubles, entry, hash, entry.real);
        break;
    case Kind::String:
        Set(maps, maps.strings, m_strings, entry, hash, VariableBatch::TextOf(entry));
        break;
    }
}

template <class Value, class Given>
void BatchWrite::Set(VariableMaps& maps, VariableMap<Value>& map, Writes<Value>& writes,
                     const VariableBatch::Entry& entry, uint32_t hash, const Given& given) {
    const std::wstring_view name = WholeName(entry);
    auto* node = map.Find(name, hash);
    if (!node) {
        Value value(given);
        const NamePrefix* prefix = entry.prefix ? StoredPrefix(maps, entry.prefix) : nullptr;
        writes.added.push_back(nullptr); // what may fail comes before the change
        try {
            node = map.Add(name, hash, prefix);
        } catch (...) {
            writes.added.pop_back();
            throw;
        }
        writes.added.back() = node;
        node->value = std::move(value);
    } else if (!IsSameValue(node->value, given)) {
        Value value(given);
        writes.replaced.push_back({node, Value()});
        writes.replaced.back().value = std::exchange(node->value, std::move(value));
    }
}

const NamePrefix* BatchWrite::StoredPrefix(VariableMaps& maps, const NamePrefix* prefix) {
    const auto [stored, isNew] = m_storedPrefixes.try_emplace(prefix, nullptr);
    if (!stored->second) {
        stored->second = maps.prefixes.Share(*prefix);
    }
    return stored->second;
}

} // namespace zq
