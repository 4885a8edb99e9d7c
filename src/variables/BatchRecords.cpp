#include "variables/BatchRecords.h"

#include <algorithm>

namespace zq {

void BatchRecords::AddPage(Arena& memory, size_t bytes) {
    if (m_pages.empty()) {
        constexpr size_t kUsualPages = 16;
        m_pages.reserve(kUsualPages);
    }
    const size_t room = std::max(bytes, kPageBytes - kLengthBytes);
    // Reading takes a length for granted, also at the end of the last record.
    auto* records = memory.Allocate<std::byte>(room + kLengthBytes);
    m_pages.push_back({records, nullptr});
    if (m_pages.size() > 1) {
        m_pages[m_pages.size() - 2].end = m_next;
    }
    m_next = records;
    m_end = records + room;
}

} // namespace zq
