// A chained hash map from names to values of one type: the table of the variable store.
//
// The bucket table is made at the first insertion with 17 buckets and grows with the entries; nodes come from
// a NodePool and hold their names. Iteration goes by bucket and then by chain; that order is no contract.
//
// Portable, no locks: the owner serialises. Pointers to nodes and values stay valid until the entry is
// removed.
#pragma once

#include "base/ShortCopy.h"
#include "variables/ExpectedEntries.h"
#include "variables/NameHash.h"
#include "variables/NamePrefix.h"
#include "variables/NodePool.h"
#include "variables/StoredText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace zq {

// The characters that a node has room for after its name: none, but for a text.
template <class Value>
struct NodeRoom {
    explicit NodeRoom(size_t) {}
    static constexpr size_t Units() { return 0; }
};
template <>
struct NodeRoom<StoredText> {
    explicit NodeRoom(size_t room) : units(static_cast<uint32_t>(room)) {}
    size_t Units() const { return units; }
    uint32_t units;
};

template <class Value>
class VariableMap {
public:
    // Followed by its name or, where it has a prefix, by the pointer to the prefix and the rest of the name;
    // then by the room for a text.
    struct Node {
        Node* next;
        uint32_t hash;
        uint32_t lengthAndKind; // characters of the name after the node; the top bit: whether it has a prefix
        Value value;
        [[no_unique_address]] NodeRoom<Value> room;

        const NamePrefix* Prefix() const {
            return HasPrefix() ? *reinterpret_cast<const NamePrefix* const*>(this + 1) : nullptr;
        }
        // The name without its prefix.
        std::wstring_view Rest() const {
            const auto* start = reinterpret_cast<const std::byte*>(this + 1) + PrefixBytes();
            return {reinterpret_cast<const wchar_t*>(start), lengthAndKind & ~kHasPrefix};
        }
        size_t NameLength() const { return Rest().size() + (HasPrefix() ? Prefix()->length : 0); }
        // Whether the name is `prefix`, which may be null, and `rest`, however either is kept.
        bool IsNamed(const NamePrefix* prefix, std::wstring_view rest) const {
            return Prefix() == prefix ? IsSameName(Rest(), rest) : IsSameName(Prefix(), Rest(), prefix, rest);
        }

        static constexpr uint32_t kHasPrefix = 0x80000000U;
        static constexpr size_t kPointerBytes = sizeof(void*); // of the prefix

        bool HasPrefix() const { return (lengthAndKind & kHasPrefix) != 0; }
        size_t PrefixBytes() const { return HasPrefix() ? kPointerBytes : 0; }
        wchar_t* Room() {
            auto* start = reinterpret_cast<std::byte*>(this + 1) + PrefixBytes();
            return reinterpret_cast<wchar_t*>(start) + Rest().size();
        }
        size_t Bytes() const {
            return sizeof(Node) + PrefixBytes() + (Rest().size() + room.Units()) * sizeof(wchar_t);
        }
    };

    VariableMap() = default;
    ~VariableMap() { Clear(); }
    VariableMap(const VariableMap&) = delete;
    VariableMap& operator=(const VariableMap&) = delete;

    size_t Size() const { return m_size; }
    // Of all names together, in characters.
    size_t NameUnits() const { return m_nameUnits; }

    // `hash` is HashName(name, seed) with the seed that the owner uses for all calls. Null when there is no
    // such name. With a prefix, `name` is what follows it.
    Node* Find(std::wstring_view name, uint32_t hash, const NamePrefix* prefix = nullptr) const {
        if (!m_buckets) {
            return nullptr;
        }
        Node* node = m_buckets[BucketOf(hash)];
        while (node && !(node->hash == hash && node->IsNamed(prefix, name))) {
            node = node->next;
        }
        return node;
    }

    // Makes the table large enough for so many entries in one step, as far as memory allows.
    void Reserve(const ExpectedEntries& expected) {
        GrowFor(expected.count);
        if (m_size == 0) { // otherwise most of them may be there already
            m_pool.Expect(expected.count * sizeof(Node) + expected.units * sizeof(wchar_t));
        }
    }

    // The entry of that name, made with an empty value where there is none. Raises std::bad_alloc, and has
    // changed nothing then.
    std::pair<Node*, bool> FindOrAdd(std::wstring_view name, uint32_t hash) {
        if (Node* node = Find(name, hash)) {
            return {node, false};
        }
        return {AddEmpty(name, hash, nullptr), true};
    }

    // A new entry with a value made of `given`. With a prefix, which outlives the entry, `name` is what
    // follows it. REQUIRES: there is no such name. Raises std::bad_alloc, and has changed nothing then.
    template <class Given>
    Node* Add(std::wstring_view name, uint32_t hash, const NamePrefix* prefix, const Given& given) {
        if constexpr (std::is_same_v<Value, StoredText>) {
            if (const size_t room = StoredText::RoomFor(given.size())) {
                Node* node = AddEmpty(name, hash, prefix, room);
                node->value = StoredText(given, node->Room());
                return node;
            }
        }
        Value value(given);
        Node* node = AddEmpty(name, hash, prefix);
        node->value = std::move(value);
        return node;
    }

    // Gives an entry another value, made of `given`. Raises std::bad_alloc, and has changed nothing then.
    template <class Given>
    static void Assign(Node* node, const Given& given) {
        if constexpr (std::is_same_v<Value, StoredText>) {
            if (given.size() <= node->room.Units()) {
                node->value = StoredText(given, node->Room());
                return;
            }
        }
        node->value = Value(given);
    }

    // Returns whether there was such a name.
    bool Remove(std::wstring_view name, uint32_t hash) noexcept {
        Node* node = Find(name, hash);
        if (node) {
            Remove(node);
        }
        return node != nullptr;
    }

    // REQUIRES: the map has this node.
    void Remove(Node* node) noexcept {
        Node** link = &m_buckets[BucketOf(node->hash)];
        while (*link != node) {
            link = &(*link)->next;
        }
        *link = node->next;
        FreeNode(node);
        --m_size;
    }

    void Clear() noexcept {
        // Otherwise the pool takes back all nodes at once.
        if (!std::is_trivially_destructible_v<Value> || m_loneNodes != 0) {
            FreeEachNode();
        }
        m_pool.Clear();
        m_buckets.reset();
        m_bucketCount = 0;
        m_size = 0;
        m_loneNodes = 0;
        m_nameUnits = 0;
    }

    // Calls visit(name, value) for every entry. The name is valid during the call. Raises std::bad_alloc
    // where a name has a prefix and cannot be put together.
    template <class Visit>
    void ForEach(Visit visit) const {
        // Neighbours in the table lie anywhere in memory; asking for them early hides most of the wait.
        constexpr size_t kAhead = 8;
        std::wstring whole;
        for (size_t bucket = 0; bucket < m_bucketCount; ++bucket) {
            if (bucket + kAhead < m_bucketCount) {
                __builtin_prefetch(m_buckets[bucket + kAhead]);
            }
            for (Node* node = m_buckets[bucket]; node; node = node->next) {
                visit(node->HasPrefix() ? WholeName(*node, whole) : node->Rest(), node->value);
            }
        }
    }

private:
    static constexpr size_t kFirstBucketCount = 17;

    static std::wstring_view WholeName(const Node& node, std::wstring& whole) {
        whole.resize(node.NameLength());
        node.Prefix()->CopyTo(whole.data());
        const std::wstring_view rest = node.Rest();
        std::copy(rest.begin(), rest.end(), whole.end() - static_cast<std::ptrdiff_t>(rest.size()));
        return whole;
    }

    // Spreads the hash over the buckets by its high bits, without a division.
    size_t BucketOf(uint32_t hash) const {
        return static_cast<size_t>(uint64_t{hash} * m_bucketCount >> 32U);
    }

    void Link(Node* node) noexcept {
        Node*& head = m_buckets[BucketOf(node->hash)];
        node->next = head;
        head = node;
    }

    Node* AddEmpty(std::wstring_view name, uint32_t hash, const NamePrefix* prefix, size_t room = 0) {
        GrowFor(m_size + 1);
        Node* node = MakeNode(name, hash, prefix, room);
        Link(node);
        ++m_size;
        return node;
    }

    Node* MakeNode(std::wstring_view rest, uint32_t hash, const NamePrefix* prefix, size_t room) {
        const size_t prefixBytes = prefix ? Node::kPointerBytes : 0;
        const size_t bytes = sizeof(Node) + prefixBytes + (rest.size() + room) * sizeof(wchar_t);
        void* memory = m_pool.Allocate(bytes);
        m_loneNodes += NodePool::IsPooled(bytes) ? 0 : 1;
        const auto length = static_cast<uint32_t>(rest.size());
        Node* node = new (memory)
            Node{nullptr, hash, prefix ? length | Node::kHasPrefix : length, Value(), NodeRoom<Value>(room)};
        auto* after = reinterpret_cast<std::byte*>(node + 1);
        std::memcpy(after, &prefix, prefixBytes);
        CopyShort(after + prefixBytes, rest.data(), rest.size() * sizeof(wchar_t));
        m_nameUnits += node->NameLength();
        return node;
    }

    void FreeNode(Node* node) noexcept {
        const size_t bytes = node->Bytes();
        m_nameUnits -= node->NameLength();
        node->~Node();
        m_pool.Free(node, bytes);
        m_loneNodes -= NodePool::IsPooled(bytes) ? 0 : 1;
    }

    void FreeEachNode() noexcept {
        for (size_t bucket = 0; bucket < m_bucketCount; ++bucket) {
            for (Node* node = m_buckets[bucket]; node;) {
                Node* next = node->next;
                FreeNode(node);
                node = next;
            }
        }
    }

    // Keeps at most one entry a bucket on average. Where there is no memory for a larger table the smaller
    // one serves on, with longer chains.
    void GrowFor(size_t size) {
        if (size > m_bucketCount) {
            Grow(size);
        }
    }

    [[gnu::noinline]] void Grow(size_t size) {
        size_t count = m_bucketCount == 0 ? kFirstBucketCount : 2 * m_bucketCount;
        while (count < size) {
            count *= 2;
        }
        std::unique_ptr<Node*[]> buckets(new (std::nothrow) Node*[count]());
        if (!buckets) {
            if (m_bucketCount == 0) {
                throw std::bad_alloc();
            }
            return;
        }
        std::swap(m_buckets, buckets);
        const size_t oldCount = std::exchange(m_bucketCount, count);
        for (size_t bucket = 0; bucket < oldCount; ++bucket) {
            for (Node* node = buckets[bucket]; node;) {
                Node* next = node->next;
                Link(node);
                node = next;
            }
        }
    }

    NodePool m_pool;
    std::unique_ptr<Node*[]> m_buckets;
    size_t m_bucketCount = 0;
    size_t m_size = 0;
    size_t m_loneNodes = 0; // those too large for the pool
    size_t m_nameUnits = 0;
};

} // namespace zq
