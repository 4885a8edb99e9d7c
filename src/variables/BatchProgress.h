// What is known of the entries of a batch on its way into the maps, in their order: of each the hash of its
// name until it is written, then the node that it added, if any, and the map that has it.
//
// Portable, one thread at a time. In memory of its own, piece by piece: a large block would cost new pages.
#pragma once

#include "base/Arena.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace zq {

class EntryProgress {
public:
    enum class In : uintptr_t { Bools, Numbers, Strings };

    explicit EntryProgress(uint32_t hash) : m_bits(hash) {}
    // `node` is null where nothing was added.
    EntryProgress(const void* node, In map)
        : m_bits(node ? reinterpret_cast<uintptr_t>(node) | static_cast<uintptr_t>(map) : 0) {}

    // REQUIRES: the entry is not written yet; for the others: it is.
    uint32_t Hash() const { return static_cast<uint32_t>(m_bits); }
    bool HasAdded() const { return m_bits != 0; }
    In Map() const { return static_cast<In>(m_bits & kMap); }
    template <class Node>
    Node* Added() const {
        return reinterpret_cast<Node*>(m_bits & ~kMap); // NOLINT(performance-no-int-to-ptr)
    }

private:
    static constexpr uintptr_t kMap = 3; // nodes are aligned to more

    uintptr_t m_bits;
};

class BatchProgress {
    // Followed by its items.
    struct Page {
        Page* next;
    };

public:
    // For so many entries at most. Raises std::bad_alloc.
    explicit BatchProgress(size_t most) : m_left(most) {}
    BatchProgress(const BatchProgress&) = delete;
    BatchProgress& operator=(const BatchProgress&) = delete;

    size_t Size() const { return m_size; }
    // Raises std::bad_alloc.
    void Add(uint32_t hash) {
        if (m_next == m_end) {
            AddPage();
        }
        std::construct_at(m_next++, hash);
        ++m_size;
    }

    // Goes through the entries from the first on. Their number is the caller's to know.
    class Cursor {
    public:
        explicit Cursor(const BatchProgress& progress) { Enter(progress.m_first); }
        // REQUIRES: there is one more entry.
        EntryProgress& operator*() const {
            return *m_item; // NOLINT(clang-analyzer-core.uninitialized.UndefReturn)
        }
        Cursor& operator++() {
            if (++m_item == m_end) {
                Enter(m_page->next);
            }
            return *this;
        }

    private:
        void Enter(const Page* page) {
            m_page = page;
            m_item = page ? ItemsOf(page) : nullptr;
            m_end = page ? m_item + kPage : nullptr;
        }

        const Page* m_page = nullptr;
        EntryProgress* m_item = nullptr;
        EntryProgress* m_end = nullptr;
    };

private:
    static constexpr size_t kPage = 2047; // with the link 16 KB

    static EntryProgress* ItemsOf(const Page* page) {
        return reinterpret_cast<EntryProgress*>(const_cast<Page*>(page) + 1);
    }

    void AddPage() {
        const size_t items = std::min(m_left, kPage);
        void* memory = m_memory.Allocate<std::byte>(sizeof(Page) + items * sizeof(EntryProgress));
        auto* page = new (memory) Page{nullptr};
        (m_last ? m_last->next : m_first) = page;
        m_last = page;
        m_next = ItemsOf(m_last);
        m_end = m_next + items;
        m_left -= items;
    }

    Arena m_memory{Arena::Life::Short};
    Page* m_first = nullptr;
    Page* m_last = nullptr;
    EntryProgress* m_next = nullptr;
    EntryProgress* m_end = nullptr; // of the last page
    size_t m_size = 0;
    size_t m_left; // entries without a page
};

} // namespace zq
