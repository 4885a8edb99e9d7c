#include "variables/BatchWrite.h"

#include "base/Cancellation.h"
#include "base/Decimal.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <utility>

namespace zq {

namespace {

// After so many entries a request to give up is looked for.
constexpr size_t kEntriesBetweenLooks = 4096;

bool IsSameValue(uint8_t held, uint8_t given) { return held == given; }
bool IsSameValue(const StoredText& held, std::wstring_view given) { return IsSameText(held, given); }

// Appends the units of a prefix from offset `from` on.
[[gnu::noinline]] void AppendUnits(NameBuffer& out, const BatchPrefix* prefix, size_t from) {
    const size_t all = prefix->length - from;
    wchar_t* end = out.Extend(all) + all;
    for (; prefix && prefix->length > from; prefix = prefix->parent) {
        const size_t units = std::min<size_t>(prefix->pieceLength, prefix->length - from);
        end -= units;
        CopyShort(end, prefix->piece + prefix->pieceLength - units, units * sizeof(wchar_t));
    }
}

// REQUIRES: the kind is one of the numbers'.
Number NumberOf(const BatchEntry& entry) {
    static constexpr std::array kHalves = {0U, uint32_t{Number::kInteger}, uint32_t{Number::kWhole},
                                           uint32_t{Number::kReal}};
    static_assert(static_cast<size_t>(BatchKind::Int64) == 1 && static_cast<size_t>(BatchKind::Number) == 2 &&
                  static_cast<size_t>(BatchKind::Double) == 3);
    return {kHalves[static_cast<size_t>(entry.kind)], entry.integer};
}

size_t SharedUnits(const BatchPrefix* prefix) { return prefix->shared ? prefix->shared->length : 0; }

} // namespace

// Asks the processor for the buckets and texts of entries to come: those of a large batch are in no cache.
// Without a branch for each kind: which of them comes next is not to be foreseen.
class BatchWrite::BucketsAhead {
public:
    BucketsAhead(const BatchRecords& entries, const BatchProgress& progress, const VariableMaps& maps)
        : m_next(entries.begin()), m_progress(progress),
          m_left(progress.Size() < kWorthAsking ? 0 : progress.Size()) {
        BucketsOf(BatchKind::Bool) = maps.bools.Buckets();
        BucketsOf(BatchKind::Int64) = maps.numbers.Buckets();
        BucketsOf(BatchKind::Number) = maps.numbers.Buckets();
        BucketsOf(BatchKind::Double) = maps.numbers.Buckets();
        BucketsOf(BatchKind::String) = maps.strings.Buckets();
        for (size_t i = 0; i < kAhead; ++i) {
            Step();
        }
    }

    // Called for each entry that is written.
    void Step() {
        if (m_left == 0) {
            return;
        }
        BucketsOf(m_next->kind).Prefetch((*m_progress).Hash());
        __builtin_prefetch(m_next->kind == BatchKind::String ? m_next->text : nullptr);
        --m_left;
        ++m_progress;
        ++m_next;
    }

private:
    static constexpr size_t kWorthAsking = 4096;
    static constexpr size_t kAhead = 16;

    BucketPlaces& BucketsOf(BatchKind kind) { return m_buckets[static_cast<size_t>(kind)]; }

    std::array<BucketPlaces, 5> m_buckets; // by kind
    BatchRecords::Iterator m_next;
    BatchProgress::Cursor m_progress;
    size_t m_left; // entries, none where it is not worth it
};

// Gives the node a value and keeps the one before. What may fail comes before the change.
template <class Map, class Value>
void BatchWrite::Replacements<Map, Value>::Replace(Map& map, Node* node, Value&& value) {
    if (pages.empty() || pages.front().size() == kPage) {
        pages.emplace_front();
        pages.front().reserve(kPage);
    }
    pages.front().push_back({node, map.Exchange(node, std::move(value))});
}

template <class Map, class Value>
void BatchWrite::Replacements<Map, Value>::Undo(Map& map) noexcept {
    for (std::vector<Replaced>& page : pages) {
        for (auto replaced = page.rbegin(); replaced != page.rend(); ++replaced) {
            map.Exchange(replaced->node, std::move(replaced->value));
        }
    }
}

BatchWrite::BatchWrite(const VariableBatch& batch) : m_batch(batch), m_progress(batch.Entries().size()) {
    for (const VariableBatch::Entry& entry : batch.Entries()) {
        if (m_progress.Size() % kEntriesBetweenLooks == 0) {
            RaiseIfCancelled(batch.CancelledBy());
        }
        m_progress.Add(HashOf(entry));
    }
}

// Makes the buffer begin with what of the prefix is needed: for the hash, and for the name in the maps.
void BatchWrite::UsePrefix(const BatchPrefix* prefix) {
    if (prefix == m_prefix) {
        return;
    }
    m_prefix = nullptr; // until all is done
    const size_t shared = SharedUnits(prefix);
    const size_t start = std::min<size_t>(shared, prefix->hashedUnits);
    m_name.CutTo(0);
    AppendUnits(m_name, prefix, start);
    m_prefixUnits = m_name.Length();
    m_sharedUnits = shared - start;
    m_hashedUnits = prefix->hashedUnits - start;
    m_prefix = prefix;
}

// Puts the entry's name after its prefix into the buffer.
void BatchWrite::AssembleName(const VariableBatch::Entry& entry, const BatchPrefix* prefix) {
    UsePrefix(prefix);
    m_name.CutTo(m_prefixUnits);
    if (entry.name) {
        m_name.Append(VariableBatch::NameOf(entry));
    } else {
        m_name.Append(Decimal(entry.nameLength).View());
    }
}

uint32_t BatchWrite::HashOf(const VariableBatch::Entry& entry) {
    const BatchPrefix* prefix = m_batch.PrefixOf(entry);
    if (!prefix) {
        return HashName(VariableBatch::NameOf(entry));
    }
    AssembleName(entry, prefix);
    return prefix->Hasher().Finish(m_name.View().substr(m_hashedUnits));
}

std::wstring_view BatchWrite::RestOf(const VariableBatch::Entry& entry) {
    const BatchPrefix* prefix = m_batch.PrefixOf(entry);
    if (!prefix) {
        return VariableBatch::NameOf(entry);
    }
    AssembleName(entry, prefix);
    return m_name.View().substr(m_sharedUnits);
}

const NamePrefix* BatchWrite::PrefixOf(const VariableBatch::Entry& entry, VariableMaps& maps) {
    const BatchPrefix* prefix = m_batch.PrefixOf(entry);
    return prefix && prefix->shared ? StoredPrefix(prefix->shared, maps) : nullptr;
}

const NamePrefix* BatchWrite::StoredPrefix(const BatchPrefix* prefix, VariableMaps& maps) {
    const auto outerOf = [](const BatchPrefix* inner) {
        return inner->parent ? inner->parent->shared : nullptr;
    };
    std::vector<const BatchPrefix*> missing; // the prefix and those around it
    const BatchPrefix* outer = prefix;
    for (; outer && !m_stored.contains(outer); outer = outerOf(outer)) {
        missing.push_back(outer);
    }
    NameBuffer piece;
    const NamePrefix* stored = outer ? m_stored.find(outer)->second : nullptr;
    for (; !missing.empty(); missing.pop_back()) {
        const BatchPrefix* inner = missing.back();
        piece.CutTo(0);
        AppendUnits(piece, inner, outer ? outer->length : 0);
        stored = maps.prefixes.Share(stored, piece.View());
        m_stored.emplace(inner, stored);
        outer = inner;
    }
    return stored;
}

void BatchWrite::ApplyTo(VariableMaps& maps) {
    try {
        WriteAll(maps);
    } catch (...) {
        Undo(maps);
        throw;
    }
}

// An entry that was added may hold a value that was replaced, so values come first.
void BatchWrite::Undo(VariableMaps& maps) noexcept {
    m_bools.Undo(maps.bools);
    m_numbers.Undo(maps.numbers);
    m_strings.Undo(maps.strings);
    for (NumberMap::Node* half : m_addedHalves) {
        if (half) {
            maps.numbers.Remove(half);
        }
    }
    BatchProgress::Cursor next(m_progress);
    for (; m_written != 0; --m_written, ++next) {
        const EntryProgress entry = *next;
        if (!entry.HasAdded()) {
            continue;
        }
        switch (entry.Map()) {
        case EntryProgress::In::Bools:
            maps.bools.Remove(entry.Added<VariableMap<uint8_t>::Node>());
            break;
        case EntryProgress::In::Numbers:
            maps.numbers.Remove(entry.Added<NumberMap::Node>());
            break;
        case EntryProgress::In::Strings:
            maps.strings.Remove(entry.Added<VariableMap<StoredText>::Node>());
            break;
        }
    }
}

void BatchWrite::Reserve(VariableMaps& maps) const {
    using Kind = VariableBatch::Kind;
    const auto reserve = [](auto& map, const ExpectedEntries& expected) {
        if (expected.count != 0) {
            map.Reserve(expected);
        }
    };
    reserve(maps.bools, m_batch.Expected(Kind::Bool));
    reserve(maps.numbers,
            m_batch.Expected(Kind::Int64) + m_batch.Expected(Kind::Number) + m_batch.Expected(Kind::Double));
    reserve(maps.strings, m_batch.Expected(Kind::String));
}

void BatchWrite::WriteAll(VariableMaps& maps) {
    Reserve(maps);
    const BatchRecords& entries = m_batch.Entries();
    // The heap keeps the memory of a smaller batch for the next one; to free that early only moves it.
    constexpr size_t kLarge = 65536;
    std::optional<BatchRecords::Release> release;
    if (m_givenAway && entries.size() >= kLarge) {
        release.emplace(entries, m_givenAway->RecordMemory());
    }
    BucketsAhead ahead(entries, m_progress, maps);
    BatchProgress::Cursor progress(m_progress);
    for (BatchRecords::Iterator entry = entries.begin(); entry != entries.end();) {
        if (m_written % kEntriesBetweenLooks == 0) {
            RaiseIfCancelled(m_batch.CancelledBy());
        }
        ahead.Step();
        *progress = Write(maps, *entry, (*progress).Hash());
        ++m_written;
        ++progress;
        ++entry;
        if (release) {
            release->FreeBefore(entry);
        }
    }
}

EntryProgress BatchWrite::Write(VariableMaps& maps, const VariableBatch::Entry& entry, uint32_t hash) {
    using Kind = VariableBatch::Kind;
    using In = EntryProgress::In;
    const Name name{RestOf(entry), PrefixOf(entry, maps), hash};
    if (entry.kind == Kind::String) {
        return {Set(maps.strings, m_strings, name, VariableBatch::TextOf(entry)), In::Strings};
    }
    if (entry.kind == Kind::Bool) {
        return {Set(maps.bools, m_bools, name, entry.boolean), In::Bools};
    }
    return {SetNumber(maps.numbers, name, NumberOf(entry)), In::Numbers};
}

// What may fail comes before each change.
template <class Value, class Given>
typename VariableMap<Value>::Node* BatchWrite::Set(VariableMap<Value>& map,
                                                   MapReplacements<Value>& replacements, const Name& name,
                                                   Given given) {
    auto* node = map.FindForWrite(name.rest, name.hash, name.prefix);
    if (!node) {
        return map.Add(name.rest, name.hash, name.prefix, given);
    }
    if (!IsSameValue(node->value, given)) {
        replacements.Replace(map, node, Value(given));
    }
    return nullptr;
}

NumberMap::Node* BatchWrite::SetNumber(NumberMap& map, const Name& name, const Number& given) {
    if (!map.MayHave(name.hash)) {
        return map.Add(name.rest, name.hash, name.prefix, given);
    }
    if (given.halves != Number::kWhole) {
        return SetHalf(map, name, given);
    }
    NumberMap::Node* node = map.FindForWrite(name.rest, name.hash, Number::kWhole, name.prefix);
    if (!node) {
        return map.Add(name.rest, name.hash, name.prefix, given);
    }
    if (const Number held = NumberMap::NumberOf(*node); held.halves == Number::kWhole) {
        if (held != given) {
            m_numbers.Replace(map, node, Number(given));
        }
        return nullptr;
    }
    for (const uint32_t other : {Number::kReal, Number::kInteger}) {
        const Number half = given.Without(other);
        if (map.FindForWrite(name.rest, name.hash, half.halves, name.prefix)) {
            SetHalf(map, name, half);
        } else {
            AddHalf(map, name, half);
        }
    }
    return nullptr;
}

NumberMap::Node* BatchWrite::SetHalf(NumberMap& map, const Name& name, const Number& given) {
    NumberMap::Node* node = map.FindForWrite(name.rest, name.hash, given.halves, name.prefix);
    if (!node) {
        return map.Add(name.rest, name.hash, name.prefix, given);
    }
    const Number held = NumberMap::NumberOf(*node);
    const bool isWhole = held.halves == Number::kWhole;
    if ((isWhole ? held.Without(Number::kWhole ^ given.halves) : held) == given) {
        return nullptr;
    }
    if (isWhole) { // the other half stays as it was, by itself
        AddHalf(map, name, held.Without(given.halves));
    }
    m_numbers.Replace(map, node, Number(given));
    return nullptr;
}

void BatchWrite::AddHalf(NumberMap& map, const Name& name, const Number& half) {
    m_addedHalves.push_back(nullptr); // first, since that may fail
    m_addedHalves.back() = map.Add(name.rest, name.hash, name.prefix, half);
}

} // namespace zq
