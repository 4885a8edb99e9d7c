// A stack whose memory follows its height: it consists of pages that never move, and frees the topmost as it
// shrinks.
//
// Portable, one thread at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <vector>

namespace zq {

// `kPage` is the number of items in a page.
template <class T, size_t kPage>
class PagedStack {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    size_t Size() const { return m_size; }
    // REQUIRES: the stack is not empty.
    const T& Top() const { return m_top[-1]; }
    T& Top() { return m_top[-1]; }
    void Pop() { CutTo(m_size - 1); }

    // Raises std::bad_alloc.
    void Push(const T& item) {
        if (m_top == m_end) {
            AddPage();
        }
        std::construct_at(m_top++, item);
        ++m_size;
    }

    // Keeps the lowest `size` items. REQUIRES: the stack has at least that many.
    void CutTo(size_t size) {
        m_size = size;
        const size_t pages = (size + kPage - 1) / kPage;
        // One page more than needed is kept, so that a stack that grows and shrinks at a page's edge does not
        // allocate.
        while (m_pages.size() > pages + 1) {
            m_pages.pop_back();
        }
        UsePage(pages);
    }

    // Calls visit(items, count) for the items from `first` on, in order, run by run.
    template <class Visit>
    void ForEachRun(size_t first, Visit visit) const {
        while (first < m_size) {
            const size_t count = std::min(kPage - first % kPage, m_size - first);
            visit(static_cast<const T*>(m_pages[first / kPage].get()) + first % kPage, count);
            first += count;
        }
    }

private:
    struct FreePage {
        void operator()(T* page) const { std::allocator<T>().deallocate(page, kPage); }
    };

    void AddPage() {
        const size_t pages = m_size / kPage + 1;
        if (m_pages.size() < pages) {
            m_pages.reserve(std::max<size_t>(pages, 2 * m_pages.size()));
            m_pages.emplace_back(std::allocator<T>().allocate(kPage));
        }
        UsePage(pages);
    }

    // Makes the last of the first `pages` pages the one that grows.
    void UsePage(size_t pages) {
        if (pages == 0) {
            m_top = m_end = m_pages.empty() ? nullptr : m_pages.front().get();
            return;
        }
        T* page = m_pages[pages - 1].get();
        m_end = page + kPage;
        m_top = page + (m_size - (pages - 1) * kPage);
    }

    std::vector<std::unique_ptr<T, FreePage>> m_pages;
    T* m_top = nullptr; // where the next one goes
    T* m_end = nullptr; // of the page
    size_t m_size = 0;
};

} // namespace zq
