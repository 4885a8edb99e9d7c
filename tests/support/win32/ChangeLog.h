// A second watch on a folder: a test waits with it until the system has reported a change, to every watch.
#pragma once

#include <filesystem>
#include <string_view>

#include <windows.h>

namespace zq::test {

class ChangeLog {
public:
    // Changes from here on are seen.
    explicit ChangeLog(const std::filesystem::path& folder);
    ~ChangeLog();
    ChangeLog(const ChangeLog&) = delete;
    ChangeLog& operator=(const ChangeLog&) = delete;

    // Waits for a change of the file of that name. Returns false when none comes within ten seconds.
    bool WaitForName(std::wstring_view name);

private:
    void Request();
    bool HasName(DWORD bytes, std::wstring_view name) const;

    HANDLE m_folder;
    OVERLAPPED m_overlapped{};
    alignas(DWORD) std::byte m_buffer[4096]{};
};

} // namespace zq::test
