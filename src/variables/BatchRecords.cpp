#include "variables/BatchRecords.h"

#include <algorithm>
#include <new>

namespace zq {

void BatchRecords::AddPage(Arena& memory, size_t bytes) {
    const size_t room = std::max(bytes, kPageBytes - sizeof(Page) - kLengthBytes);
    // A length is read and written at the end of every record, also of the last one.
    const size_t all = sizeof(Page) + room + kLengthBytes;
    auto* records = memory.Allocate<std::byte>(all);
    auto* page = new (records) Page{nullptr, nullptr, all};
    if (m_last) {
        m_last->end = m_next;
    }
    (m_last ? m_last->next : m_first) = page;
    m_last = page;
    m_next = records + sizeof(Page);
    m_end = m_next + room;
}

} // namespace zq
