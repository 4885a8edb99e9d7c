// Keeps the string variables that a function publishes, in their order.
#pragma once

#include "sysinfo/StringPublisher.h"

#include <string>
#include <utility>
#include <vector>

namespace zq::test {

class PublishedStrings {
public:
    using Entry = std::pair<std::wstring, std::wstring>;

    StringPublisher Publisher() {
        return
            [this](const wchar_t* name, const std::wstring& value) { m_entries.emplace_back(name, value); };
    }

    const std::vector<Entry>& Entries() const { return m_entries; }
    void Clear() { m_entries.clear(); }

private:
    std::vector<Entry> m_entries;
};

} // namespace zq::test
