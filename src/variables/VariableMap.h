// A chained hash map from names to values of one type: the table of the variable store.
//
// The bucket table is made at the first insertion with 17 buckets and grows with the entries; nodes come from
// a NodePool and hold their names. Iteration goes through the pool's blocks, so that neighbours in memory are
// visited one after the other; that order is no contract.
//
// Portable, no locks: the owner serialises. Pointers to nodes and values stay valid until the entry is
// removed.
#pragma once

#include "base/NameBuffer.h"
#include "variables/ExpectedEntries.h"
#include "variables/NameHash.h"
#include "variables/NamePrefix.h"
#include "variables/NodeName.h"
#include "variables/NodePool.h"
#include "variables/StoredText.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
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

// Where the buckets of a map lie.
struct BucketPlaces {
    const std::byte* first = nullptr; // null where there are none yet
    size_t count = 0;
    size_t bytes = 0; // of each

    // Asks the processor for the bucket of a hash that will soon be looked up; a map that has grown since is
    // asked in vain. Inlined always: GCC leaves out the call of a function that does nothing else.
    [[gnu::always_inline]] void Prefetch(uint32_t hash) const {
        __builtin_prefetch(first + (uint64_t{hash} * count >> 32U) * bytes, 1);
    }
};

template <class Value>
class VariableMap {
public:
    // Followed by its name or, where it has a prefix, by the pointer to the prefix and the rest of the name;
    // then by the room for a text.
    struct Node {
        Node* next;
        uint32_t hash;
        uint32_t lengthAndMarks; // characters of the name after the node; the top bits are marks
        Value value;
        [[no_unique_address]] NodeRoom<Value> room;

        const NamePrefix* Prefix() const {
            return HasPrefix() ? *reinterpret_cast<const NamePrefix* const*>(this + 1) : nullptr;
        }
        // The name without its prefix.
        NodeName Rest() const {
            const auto* start = reinterpret_cast<const std::byte*>(this + 1) + PrefixBytes();
            return {start, lengthAndMarks & kMostUnits, (lengthAndMarks & kIsInBytes) != 0};
        }
        size_t NameLength() const { return Rest().size() + (HasPrefix() ? Prefix()->length : 0); }
        // Whether the name is `prefix`, which may be null, and `rest`, however either is kept.
        bool IsNamed(const NamePrefix* prefix, std::wstring_view rest) const {
            return Prefix() == prefix ? Rest() == rest : IsSameName(Prefix(), Rest(), prefix, rest);
        }

        // Two bits for the map's owner; a new node has none of them.
        uint32_t Marks() const { return lengthAndMarks >> kMarksShift & 3U; }
        void SetMarks(uint32_t marks) {
            lengthAndMarks = (lengthAndMarks & ~(3U << kMarksShift)) | marks << kMarksShift;
        }

        static constexpr uint32_t kHasPrefix = 0x80000000U;
        static constexpr unsigned kMarksShift = 29;
        static constexpr uint32_t kIsInBytes = 0x10000000U;
        static constexpr uint32_t kMostUnits = kIsInBytes - 1;
        static constexpr size_t kPointerBytes = sizeof(void*); // of the prefix

        bool HasPrefix() const { return (lengthAndMarks & kHasPrefix) != 0; }
        size_t PrefixBytes() const { return HasPrefix() ? kPointerBytes : 0; }
        wchar_t* Room() {
            auto* start = reinterpret_cast<std::byte*>(this + 1) + PrefixBytes();
            return reinterpret_cast<wchar_t*>(start + Rest().Bytes());
        }
        size_t Bytes() const {
            return sizeof(Node) + PrefixBytes() + Rest().Bytes() + room.Units() * sizeof(wchar_t);
        }
    };

    VariableMap() = default;
    ~VariableMap() { Clear(); }
    VariableMap(const VariableMap&) = delete;
    VariableMap& operator=(const VariableMap&) = delete;

    size_t Size() const { return m_size; }
    // Of all names together, in characters.
    size_t NameUnits() const { return m_nameUnits; }

    // `hash` is HashName of the whole name. Null when there is no such name. With a prefix, `name` is what
    // follows it.
    Node* Find(std::wstring_view name, uint32_t hash, const NamePrefix* prefix = nullptr) const {
        return Find(name, hash, prefix, [](const Node&) { return true; });
    }
    // The same among the entries that isWanted(node) accepts: a name may have several.
    template <class IsWanted>
    Node* Find(std::wstring_view name, uint32_t hash, const NamePrefix* prefix, IsWanted isWanted) const {
        return m_buckets ? FindIn(m_buckets[BucketOf(hash)], name, hash, prefix, isWanted) : nullptr;
    }
    // The same before a write: faster where the name is new, and a little slower where it is not.
    Node* FindForWrite(std::wstring_view name, uint32_t hash, const NamePrefix* prefix = nullptr) const {
        return FindForWrite(name, hash, prefix, [](const Node&) { return true; });
    }
    template <class IsWanted>
    Node* FindForWrite(std::wstring_view name, uint32_t hash, const NamePrefix* prefix,
                       IsWanted isWanted) const {
        return MayHave(hash) ? FindIn(m_buckets[BucketOf(hash)], name, hash, prefix, isWanted) : nullptr;
    }
    // Whether there may be an entry with that hash.
    bool MayHave(uint32_t hash) const { return m_buckets && m_buckets[BucketOf(hash)].MayHave(hash); }

    BucketPlaces Buckets() const {
        return {reinterpret_cast<const std::byte*>(m_buckets), m_bucketCount, sizeof(Bucket)};
    }

    // Makes the table large enough for so many entries in one step, as far as memory allows.
    void Reserve(const ExpectedEntries& expected) {
        if (m_size == 0) { // otherwise most of them may be there already
            m_pool.Expect(expected.count * sizeof(Node) + expected.bytes, expected.count);
        }
        GrowFor(expected.count);
    }

    // The entry of that name, made with an empty value where there is none. Raises std::bad_alloc, and has
    // changed nothing then.
    std::pair<Node*, bool> FindOrAdd(std::wstring_view name, uint32_t hash) {
        if (Node* node = FindForWrite(name, hash)) {
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

    // Gives an entry another value and returns the one before.
    static Value Exchange(Node* node, Value&& value) noexcept {
        return std::exchange(node->value, std::move(value));
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
        m_buckets[BucketOf(node->hash)].Remove(node);
        FreeNode(node);
        --m_size;
    }

    void Clear() noexcept {
        if (m_loneNodes != 0) {
            FreeLoneNodes();
        }
        if constexpr (!std::is_trivially_destructible_v<Value>) {
            m_pool.ForEach([](void* node) { static_cast<Node*>(node)->~Node(); });
        }
        m_pool.Clear();
        m_ownedBuckets.reset();
        m_buckets = nullptr;
        m_bucketCount = 0;
        m_size = 0;
        m_loneNodes = 0;
        m_nameUnits = 0;
    }

    // Calls visit(name, value) for every entry. The name is valid during the call. Raises std::bad_alloc
    // where a long name cannot be put together.
    template <class Visit>
    void ForEach(Visit visit) const {
        NameBuffer whole;
        ForEachNode([&](const Node& node, const Value& value) { visit(WholeName(node, whole), value); });
    }

    // Calls visit(node, value) for every entry.
    template <class Visit>
    void ForEachNode(Visit visit) const {
        m_pool.ForEach([&](void* memory) {
            const auto& node = *static_cast<const Node*>(memory);
            visit(node, node.value);
        });
        if (m_loneNodes != 0) {
            ForEachLoneNode([&](const Node* node) { visit(*node, node->value); });
        }
    }

    // The name of an entry, put together in `buffer`. Raises std::bad_alloc.
    template <class AnyNode>
    static std::wstring_view WholeName(const AnyNode& node, NameBuffer& buffer) {
        buffer.CutTo(0);
        if (const NamePrefix* prefix = node.Prefix()) {
            prefix->CopyTo(buffer.Extend(prefix->length));
        }
        const NodeName rest = node.Rest();
        rest.CopyTo(buffer.Extend(rest.size()));
        return buffer.View();
    }

private:
    static constexpr size_t kFirstBucketCount = 17;
    static constexpr size_t kSmallTable = 8 * kFirstBucketCount;

    // The first node of a chain and, in the bits that an address leaves free, a filter of the chain's hashes:
    // most look-ups of a name that is not there touch no node.
    class Bucket {
    public:
        Node* First() const {
            return reinterpret_cast<Node*>(m_bits & kAddress); // NOLINT(performance-no-int-to-ptr)
        }
        bool MayHave(uint32_t hash) const { return (m_bits & FilterOf(hash)) != 0; }
        void Add(Node* node) {
            node->next = First();
            m_bits = reinterpret_cast<uintptr_t>(node) | (m_bits & ~kAddress) | FilterOf(node->hash);
        }
        // REQUIRES: the node is in the chain.
        void Remove(Node* node) {
            Node* first = First();
            Node** link = &first;
            while (*link != node) {
                link = &(*link)->next;
            }
            *link = node->next;
            m_bits = reinterpret_cast<uintptr_t>(first);
            for (; first; first = first->next) {
                m_bits |= FilterOf(first->hash);
            }
        }

    private:
        static constexpr unsigned kAddressBits = 48; // of a process on x86-64
        static constexpr unsigned kFilterBits = 16;
        static constexpr uintptr_t kAddress = (uintptr_t{1} << kAddressBits) - 1;

        // By the low bits of the hash: the high ones choose the bucket.
        static uintptr_t FilterOf(uint32_t hash) {
            return uintptr_t{1} << (kAddressBits + hash % kFilterBits);
        }

        uintptr_t m_bits = 0;
    };

    template <class IsWanted>
    static Node* FindIn(const Bucket& bucket, std::wstring_view name, uint32_t hash, const NamePrefix* prefix,
                        IsWanted isWanted) {
        Node* node = bucket.First();
        while (node && !(node->hash == hash && isWanted(*node) && node->IsNamed(prefix, name))) {
            node = node->next;
        }
        return node;
    }

    // Spreads the hash over the buckets by its high bits, without a division.
    size_t BucketOf(uint32_t hash) const {
        return static_cast<size_t>(uint64_t{hash} * m_bucketCount >> 32U);
    }

    void Link(Node* node) noexcept { m_buckets[BucketOf(node->hash)].Add(node); }

    Node* AddEmpty(std::wstring_view name, uint32_t hash, const NamePrefix* prefix, size_t room = 0) {
        GrowFor(m_size + 1);
        Node* node = MakeNode(name, hash, prefix, room);
        Link(node);
        ++m_size;
        return node;
    }

    Node* MakeNode(std::wstring_view rest, uint32_t hash, const NamePrefix* prefix, size_t room) {
        if (rest.size() > Node::kMostUnits) {
            throw std::bad_alloc();
        }
        const size_t nameOffset = sizeof(Node) + (prefix ? Node::kPointerBytes : 0);
        const size_t roomBytes = room * sizeof(wchar_t);
        // Nearly every name fits into bytes; to ask first would take longer.
        size_t bytes = nameOffset + NodeName::BytesOf(rest.size(), true) + roomBytes;
        auto* memory = static_cast<std::byte*>(m_pool.Allocate(bytes));
        const bool isInBytes = NodeName::PutInBytes(memory + nameOffset, rest);
        if (!isInBytes) {
            m_pool.Free(memory, bytes);
            bytes = nameOffset + NodeName::BytesOf(rest.size(), false) + roomBytes;
            memory = AllocateWide(bytes, nameOffset, rest);
        }
        m_loneNodes += NodePool::IsPooled(bytes) ? 0 : 1;
        m_nameUnits += rest.size();
        const uint32_t lengthAndMarks = static_cast<uint32_t>(rest.size()) |
                                        (isInBytes ? Node::kIsInBytes : 0) | (prefix ? Node::kHasPrefix : 0);
        Node* node = new (memory) Node{nullptr, hash, lengthAndMarks, Value(), NodeRoom<Value>(room)};
        if (prefix) {
            std::memcpy(memory + sizeof(Node), &prefix, Node::kPointerBytes);
            m_nameUnits += prefix->length;
        }
        return node;
    }

    [[gnu::cold]] std::byte* AllocateWide(size_t bytes, size_t nameOffset, std::wstring_view rest) {
        auto* memory = static_cast<std::byte*>(m_pool.Allocate(bytes));
        std::memcpy(memory + nameOffset, rest.data(), rest.size() * sizeof(wchar_t));
        return memory;
    }

    void FreeNode(Node* node) noexcept {
        const size_t bytes = node->Bytes();
        m_nameUnits -= node->NameLength();
        node->~Node();
        m_pool.Free(node, bytes);
        m_loneNodes -= NodePool::IsPooled(bytes) ? 0 : 1;
    }

    // Calls visit(node) for the nodes that are not the pool's.
    template <class Visit>
    void ForEachLoneNode(Visit visit) const {
        for (size_t bucket = 0; bucket < m_bucketCount; ++bucket) {
            for (Node* node = m_buckets[bucket].First(); node;) {
                Node* next = node->next; // the visit may free the node
                if (!NodePool::IsPooled(node->Bytes())) {
                    visit(node);
                }
                node = next;
            }
        }
    }

    void FreeLoneNodes() noexcept {
        ForEachLoneNode([this](Node* node) { FreeNode(node); });
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
        if (m_bucketCount == 0 && count <= kSmallTable) {
            UseTableOfPool(count);
            return;
        }
        std::unique_ptr<Bucket[]> buckets(new (std::nothrow) Bucket[count]());
        if (!buckets) {
            if (m_bucketCount == 0) {
                throw std::bad_alloc();
            }
            return;
        }
        const Bucket* const old = std::exchange(m_buckets, buckets.get());
        const size_t oldCount = std::exchange(m_bucketCount, count);
        for (size_t bucket = 0; bucket < oldCount; ++bucket) {
            for (Node* node = old[bucket].First(); node;) {
                Node* next = node->next;
                Link(node);
                node = next;
            }
        }
        m_ownedBuckets = std::move(buckets);
    }

    // A small first table lies beside the nodes and costs no allocation of its own.
    void UseTableOfPool(size_t count) {
        constexpr size_t kStep = 16;
        void* memory = m_pool.AllocateTable((count * sizeof(Bucket) + kStep - 1) / kStep * kStep);
        m_buckets = new (memory) Bucket[count]();
        m_bucketCount = count;
    }

    NodePool m_pool;
    Bucket* m_buckets = nullptr;
    std::unique_ptr<Bucket[]> m_ownedBuckets; // unless the pool has their memory
    size_t m_bucketCount = 0;
    size_t m_size = 0;
    size_t m_loneNodes = 0; // those too large for the pool
    size_t m_nameUnits = 0;
};

} // namespace zq
