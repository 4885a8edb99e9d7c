// A chained hash map from names to values of one type: the table of the variable store.
//
// The bucket table is made at the first insertion with 17 buckets and grows with the entries; nodes come from
// a NodePool and hold their names. Iteration goes by bucket and then by chain; that order is no contract.
//
// Portable, no locks: the owner serialises. Pointers to nodes and values stay valid until the entry is
// removed.
#pragma once

#include "base/ShortCopy.h"
#include "variables/NameHash.h"
#include "variables/NodePool.h"

#include <cstdint>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

namespace zq {

template <class Value>
class VariableMap {
public:
    struct Node {
        Node* next;
        uint32_t hash;
        uint32_t nameLength;
        Value value;

        std::wstring_view Name() const { return {reinterpret_cast<const wchar_t*>(this + 1), nameLength}; }
    };

    VariableMap() = default;
    ~VariableMap() { Clear(); }
    VariableMap(const VariableMap&) = delete;
    VariableMap& operator=(const VariableMap&) = delete;

    size_t Size() const { return m_size; }
    // Of all names together, in characters.
    size_t NameUnits() const { return m_nameUnits; }

    // `hash` is HashName(name, seed) with the seed that the owner uses for all calls. Null when there is no
    // such name.
    Node* Find(std::wstring_view name, uint32_t hash) const {
        if (!m_buckets) {
            return nullptr;
        }
        Node* node = m_buckets[BucketOf(hash)];
        while (node && !(node->hash == hash && IsSameName(node->Name(), name))) {
            node = node->next;
        }
        return node;
    }

    // Makes the table large enough for `size` entries in one step, as far as memory allows.
    void Reserve(size_t size) { GrowFor(size); }

    // The entry of that name, made with an empty value where there is none. Raises std::bad_alloc, and has
    // changed nothing then.
    std::pair<Node*, bool> FindOrAdd(std::wstring_view name, uint32_t hash) {
        if (Node* node = Find(name, hash)) {
            return {node, false};
        }
        GrowFor(m_size + 1);
        Node* node = MakeNode(name, hash);
        Link(node);
        ++m_size;
        return {node, true};
    }

    // Returns whether there was such a name.
    bool Remove(std::wstring_view name, uint32_t hash) noexcept {
        if (!m_buckets) {
            return false;
        }
        for (Node** link = &m_buckets[BucketOf(hash)]; *link; link = &(*link)->next) {
            Node* node = *link;
            if (node->hash == hash && IsSameName(node->Name(), name)) {
                *link = node->next;
                FreeNode(node);
                --m_size;
                return true;
            }
        }
        return false;
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

    // Calls visit(name, value) for every entry.
    template <class Visit>
    void ForEach(Visit visit) const {
        // Neighbours in the table lie anywhere in memory; asking for them early hides most of the wait.
        constexpr size_t kAhead = 8;
        for (size_t bucket = 0; bucket < m_bucketCount; ++bucket) {
            if (bucket + kAhead < m_bucketCount) {
                __builtin_prefetch(m_buckets[bucket + kAhead]);
            }
            for (Node* node = m_buckets[bucket]; node; node = node->next) {
                visit(node->Name(), node->value);
            }
        }
    }

private:
    static constexpr size_t kFirstBucketCount = 17;

    static size_t NodeBytes(size_t nameLength) { return sizeof(Node) + nameLength * sizeof(wchar_t); }

    // Spreads the hash over the buckets by its high bits, without a division.
    size_t BucketOf(uint32_t hash) const {
        return static_cast<size_t>(uint64_t{hash} * m_bucketCount >> 32U);
    }

    void Link(Node* node) noexcept {
        Node*& head = m_buckets[BucketOf(node->hash)];
        node->next = head;
        head = node;
    }

    Node* MakeNode(std::wstring_view name, uint32_t hash) {
        const size_t bytes = NodeBytes(name.size());
        void* memory = m_pool.Allocate(bytes);
        m_loneNodes += NodePool::IsPooled(bytes) ? 0 : 1;
        Node* node = new (memory) Node{nullptr, hash, static_cast<uint32_t>(name.size()), Value()};
        CopyShort(node + 1, name.data(), name.size() * sizeof(wchar_t));
        m_nameUnits += name.size();
        return node;
    }

    void FreeNode(Node* node) noexcept {
        const size_t bytes = NodeBytes(node->nameLength);
        m_nameUnits -= node->nameLength;
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
        if (size <= m_bucketCount) {
            return;
        }
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
