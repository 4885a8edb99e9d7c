// A stack whose memory follows its height: it consists of pages that never move, and frees the topmost as it
// shrinks. The first page is in the stack itself: most stacks need no other.
//
// Portable, one thread at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <vector>

namespace zq {

// `kPage` is the number of items in a page, `kFirst` in the first one.
template <class T, size_t kPage, size_t kFirst = 32>
class PagedStack {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    PagedStack() { UsePage(0); }
    PagedStack(const PagedStack&) = delete;
    PagedStack& operator=(const PagedStack&) = delete;

    size_t Size() const { return m_size; }
    // REQUIRES: the stack is not empty.
    const T& Top() const { return m_top[-1]; }
    T& Top() { return m_top[-1]; }
    void Pop() { CutTo(m_size - 1); }

    // Raises std::bad_alloc.
    void Push(const T& item) { std::construct_at(&Extend(), item); }
    // A new item, which is to be written at once. Raises std::bad_alloc.
    T& Extend() {
        if (m_top == m_end) {
            AddPage();
        }
        ++m_size;
        return *m_top++;
    }

    // Keeps the lowest `size` items. REQUIRES: the stack has at least that many.
    void CutTo(size_t size) {
        m_size = size;
        const size_t last = size == 0 ? 0 : PageOf(size - 1);
        // One page more than needed is kept, so that a stack that grows and shrinks at a page's edge does not
        // allocate.
        while (m_more.size() > last + 1) {
            m_more.pop_back();
        }
        UsePage(last);
    }

    // Calls visit(items, count) for the items from `first` on, in order, run by run.
    template <class Visit>
    void ForEachRun(size_t first, Visit visit) const {
        while (first < m_size) {
            const size_t page = PageOf(first);
            const size_t count = std::min(StartOf(page + 1), m_size) - first;
            visit(PageAt(page) + (first - StartOf(page)), count);
            first += count;
        }
    }

private:
    struct FreePage {
        void operator()(T* page) const { std::allocator<T>().deallocate(page, kPage); }
    };

    static constexpr size_t PageOf(size_t index) { return index < kFirst ? 0 : 1 + (index - kFirst) / kPage; }
    // The index of its first item.
    static constexpr size_t StartOf(size_t page) { return page == 0 ? 0 : kFirst + (page - 1) * kPage; }

    const T* PageAt(size_t page) const {
        return page == 0 ? reinterpret_cast<const T*>(m_first) : m_more[page - 1].get();
    }

    void AddPage() {
        const size_t page = PageOf(m_size);
        if (m_more.size() < page) {
            m_more.reserve(std::max(page, 2 * m_more.size()));
            m_more.emplace_back(std::allocator<T>().allocate(kPage));
        }
        UsePage(page);
    }

    // Makes a page the one that grows.
    void UsePage(size_t page) {
        auto* items = const_cast<T*>(PageAt(page));
        m_end = items + (StartOf(page + 1) - StartOf(page));
        m_top = items + (m_size - StartOf(page));
    }

    alignas(T) std::byte m_first[kFirst * sizeof(T)];
    std::vector<std::unique_ptr<T, FreePage>> m_more;
    T* m_top = nullptr; // where the next one goes
    T* m_end = nullptr; // of the page
    size_t m_size = 0;
};

} // namespace zq
