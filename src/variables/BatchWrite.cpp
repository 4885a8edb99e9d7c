#include "variables/BatchWrite.h"

#include "base/Cancellation.h"
#include "base/Decimal.h"

#include <algorithm>
#include <array>
#include <bit>
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
bool IsSameValue(const StoredText& held, std::wstring_view given) { return IsSameName(held, given); }

// Appends the pieces from below `outer`, which may be null, to `prefix`.
[[gnu::noinline]] void AppendPieces(std::wstring& out, const BatchPrefix* prefix, const BatchPrefix* outer) {
    const size_t units = (prefix ? prefix->length : 0) - (outer ? outer->length : 0);
    out.resize(out.size() + units);
    wchar_t* end = out.data() + out.size();
    for (; prefix != outer; prefix = prefix->parent) {
        end -= prefix->pieceLength;
        CopyShort(end, prefix->piece, prefix->pieceLength * sizeof(wchar_t));
    }
}

} // namespace

// Gives the node a value and keeps the one before. What may fail comes before the change.
template <class Value>
void BatchWrite::Replacements<Value>::Replace(Node* node, Value&& value) {
    if (pages.empty() || pages.front().size() == kPage) {
        pages.emplace_front();
        pages.front().reserve(kPage);
    }
    pages.front().push_back({node, std::exchange(node->value, std::move(value))});
}

template <class Value>
void BatchWrite::Replacements<Value>::Undo() noexcept {
    for (std::vector<Replaced>& page : pages) {
        for (auto replaced = page.rbegin(); replaced != page.rend(); ++replaced) {
            replaced->node->value = std::move(replaced->value);
        }
    }
}

BatchWrite::BatchWrite(const VariableBatch& batch, uint64_t hashSeed)
    : m_batch(batch), m_hashSeed(hashSeed), m_hasher(hashSeed) {
    // A large batch goes bucket by bucket: the maps' memory is visited from one end to the other then, and
    // new nodes lie in the order in which they are packed later.
    constexpr size_t kWorthSorting = 4096;
    const BatchRecords& entries = batch.Entries();
    m_items.reserve(entries.size());
    for (auto next = entries.begin(); next != entries.end();) {
        if (m_items.size() % kEntriesBetweenLooks == 0) {
            RaiseIfCancelled(batch.CancelledBy());
        }
        const VariableBatch::Entry entry = *next;
        const Position position = next.At();
        ++next; // before the hash, whose branches are hard to foresee
        m_items.push_back({HashOf(entry), position});
    }
    if (m_items.size() >= kWorthSorting) {
        SortByBucket();
    }
}

// By the upper half of the hash, and within that in the order of the batch: the order of the maps' buckets.
// Items go in runs, so that the second copy that the sort needs stays small.
void BatchWrite::SortByBucket() {
    constexpr size_t kRun = 32768;
    std::vector<Item> sorted(std::min(kRun, m_items.size()));
    for (size_t first = 0; first < m_items.size(); first += kRun) {
        SortRun(std::span(m_items).subspan(first, std::min(kRun, m_items.size() - first)), sorted);
    }
}

void BatchWrite::SortRun(std::span<Item> run, std::span<Item> sorted) {
    constexpr unsigned kDigitBits = 8;
    const auto distribute = [](std::span<const Item> from, std::span<Item> to, unsigned shift) {
        const auto digitOf = [shift](const Item& item) { return item.hash >> shift & 0xFFU; };
        std::array<size_t, 1U << kDigitBits> starts{};
        for (const Item& item : from) {
            ++starts[digitOf(item)];
        }
        std::exclusive_scan(starts.begin(), starts.end(), starts.begin(), size_t{0});
        for (const Item& item : from) {
            to[starts[digitOf(item)]++] = item;
        }
    };
    distribute(run, sorted, 16);
    distribute(sorted.first(run.size()), run, 24);
}

// Makes the buffer begin with the prefix.
void BatchWrite::UsePrefix(const BatchPrefix* prefix) {
    if (prefix == m_prefix) {
        return;
    }
    m_prefix = nullptr; // until all is done
    const BatchPrefix* outer = prefix ? prefix->shared : nullptr;
    m_name.clear();
    m_hasher = NameHasher(m_hashSeed);
    if (outer) {
        const SharedPrefix& shared = Shared(outer);
        m_name = shared.open;
        m_hasher = shared.hasher;
    }
    m_sharedUnits = m_name.size();
    AppendPieces(m_name, prefix, outer);
    m_prefixUnits = m_name.size();
    m_hashedUnits = m_hasher.Take(m_name);
    m_prefix = prefix;
}

BatchWrite::SharedPrefix& BatchWrite::Shared(const BatchPrefix* prefix) {
    const auto outerOf = [](const BatchPrefix* inner) {
        return inner->parent ? inner->parent->shared : nullptr;
    };
    std::vector<const BatchPrefix*> unknown;
    for (const BatchPrefix* inner = prefix; inner && !m_shared.contains(inner); inner = outerOf(inner)) {
        unknown.push_back(inner);
    }
    for (; !unknown.empty(); unknown.pop_back()) {
        const BatchPrefix* inner = unknown.back();
        const BatchPrefix* outer = outerOf(inner);
        SharedPrefix made{NameHasher(m_hashSeed), {}};
        if (outer) {
            const SharedPrefix& known = m_shared.at(outer);
            made = {known.hasher, known.open};
        }
        AppendPieces(made.open, inner, outer);
        made.open.erase(0, made.hasher.Take(made.open));
        m_shared.emplace(inner, std::move(made));
    }
    return m_shared.find(prefix)->second;
}

uint32_t BatchWrite::HashOf(const VariableBatch::Entry& entry) {
    if (entry.prefix == 0) {
        return HashName(VariableBatch::NameOf(entry), m_hashSeed);
    }
    NameAfterPrefix(entry.name, entry.nameLength, m_batch.PrefixOf(entry));
    return m_hasher.Finish(std::wstring_view(m_name).substr(m_hashedUnits));
}

std::wstring_view BatchWrite::NameOf(const VariableBatch::Entry& entry) {
    return entry.prefix == 0 ? VariableBatch::NameOf(entry)
                             : NameAfterPrefix(entry.name, entry.nameLength, m_batch.PrefixOf(entry));
}

std::wstring_view BatchWrite::NameAfterPrefix(const wchar_t* name, uint32_t length,
                                              const BatchPrefix* prefix) {
    UsePrefix(prefix);
    m_name.resize(m_prefixUnits);
    if (name) {
        m_name.append(name, length);
    } else {
        m_name.append(Decimal(length).View());
    }
    return std::wstring_view(m_name).substr(m_sharedUnits);
}

const NamePrefix* BatchWrite::StoredPrefix(VariableMaps& maps, const BatchPrefix* prefix) {
    const NamePrefix* stored = Shared(prefix).stored;
    if (stored) {
        return stored;
    }
    std::vector<const BatchPrefix*> missing; // of the prefix and those around it
    for (const BatchPrefix* inner = prefix; inner; inner = inner->parent ? inner->parent->shared : nullptr) {
        missing.push_back(inner);
    }
    std::wstring piece;
    const BatchPrefix* outer = nullptr;
    for (; !missing.empty(); missing.pop_back()) {
        const BatchPrefix* inner = missing.back();
        SharedPrefix& shared = Shared(inner);
        if (!shared.stored) {
            piece.clear();
            AppendPieces(piece, inner, outer);
            shared.stored = maps.prefixes.Share(stored, piece);
        }
        stored = shared.stored;
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

// A batch of names in pieces may need the buffers, which have held each of them before.
void BatchWrite::Undo(VariableMaps& maps) noexcept {
    m_bools.Undo();
    m_integers.Undo();
    m_doubles.Undo();
    m_strings.Undo();
    for (const Item& item : m_items) {
        if (item.IsNew()) {
            RemoveNew(maps, item);
        }
    }
}

// Allocates nothing: the buffers had this very name before.
void BatchWrite::RemoveNew(VariableMaps& maps, const Item& item) noexcept {
    using Kind = VariableBatch::Kind;
    const VariableBatch::Entry entry = m_batch.Entries()[item.At()];
    const std::wstring_view name = NameOf(entry);
    const BatchPrefix* used = m_batch.PrefixOf(entry);
    const BatchPrefix* shared = used ? used->shared : nullptr;
    const NamePrefix* prefix = shared ? Shared(shared).stored : nullptr;
    const auto remove = [&](auto& map) { map.Remove(map.Find(name, item.hash, prefix)); };
    if ((item.positionAndMarks & kNewDouble) != 0) {
        remove(maps.doubles);
    }
    if ((item.positionAndMarks & kNewName) == 0) {
        return;
    }
    switch (entry.kind) {
    case Kind::Bool:
        remove(maps.bools);
        break;
    case Kind::Int64:
    case Kind::Number:
        remove(maps.integers);
        break;
    case Kind::Double:
        remove(maps.doubles);
        break;
    case Kind::String:
        remove(maps.strings);
        break;
    }
}

void BatchWrite::Reserve(VariableMaps& maps) const {
    using Kind = VariableBatch::Kind;
    const auto reserve = [](auto& map, const ExpectedEntries& expected) {
        if (expected.count != 0) {
            map.Reserve(expected);
        }
    };
    const ExpectedEntries& numbers = m_batch.Expected(Kind::Number);
    reserve(maps.bools, m_batch.Expected(Kind::Bool));
    reserve(maps.integers, m_batch.Expected(Kind::Int64) + numbers);
    reserve(maps.doubles, m_batch.Expected(Kind::Double) + numbers);
    reserve(maps.strings, m_batch.Expected(Kind::String));
}

void BatchWrite::WriteAll(VariableMaps& maps) {
    constexpr size_t kAhead = 8;
    Reserve(maps);
    const BatchRecords& entries = m_batch.Entries();
    for (size_t i = 0; i < m_items.size(); ++i) {
        if (i % kEntriesBetweenLooks == 0) {
            RaiseIfCancelled(m_batch.CancelledBy());
        }
        if (i + kAhead < m_items.size()) {
            entries.Prefetch(m_items[i + kAhead].At());
        }
        Write(maps, m_items[i]);
    }
}

void BatchWrite::Write(VariableMaps& maps, Item& item) {
    using Kind = VariableBatch::Kind;
    const VariableBatch::Entry entry = m_batch.Entries()[item.At()];
    const BatchPrefix* used = m_batch.PrefixOf(entry);
    const BatchPrefix* shared = used ? used->shared : nullptr;
    const Name name{NameOf(entry), shared ? StoredPrefix(maps, shared) : nullptr, item.hash};
    bool isNew = false;
    switch (entry.kind) {
    case Kind::Bool:
        isNew = Set(maps.bools, m_bools, name, entry.boolean);
        break;
    case Kind::Number:
        if (Set(maps.doubles, m_doubles, name, static_cast<double>(entry.integer))) {
            item.positionAndMarks |= kNewDouble;
        }
        [[fallthrough]];
    case Kind::Int64:
        isNew = Set(maps.integers, m_integers, name, entry.integer);
        break;
    case Kind::Double:
        isNew = Set(maps.doubles, m_doubles, name, entry.real);
        break;
    case Kind::String:
        isNew = Set(maps.strings, m_strings, name, VariableBatch::TextOf(entry));
        break;
    }
    if (isNew) {
        item.positionAndMarks |= kNewName;
    }
}

// What may fail comes before each change.
template <class Value, class Given>
bool BatchWrite::Set(VariableMap<Value>& map, Replacements<Value>& replacements, const Name& name,
                     Given given) {
    auto* node = map.Find(name.rest, name.hash, name.prefix);
    if (!node) {
        map.Add(name.rest, name.hash, name.prefix, given);
        return true;
    }
    if (!IsSameValue(node->value, given)) {
        replacements.Replace(node, Value(given));
    }
    return false;
}

} // namespace zq
