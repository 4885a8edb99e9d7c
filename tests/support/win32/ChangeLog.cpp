#include "support/win32/ChangeLog.h"

#include <cstring>
#include <string>

namespace zq::test {

namespace {

constexpr DWORD kNoticeCapMilliseconds = 10'000;
constexpr DWORD kFilter = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE;

} // namespace

ChangeLog::ChangeLog(const std::filesystem::path& folder)
    : m_folder(CreateFileW(folder.c_str(), FILE_LIST_DIRECTORY,
                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                           FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr)) {
    m_overlapped.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    Request();
}

ChangeLog::~ChangeLog() {
    DWORD bytes = 0;
    CancelIo(m_folder);
    GetOverlappedResult(m_folder, &m_overlapped, &bytes, TRUE);
    CloseHandle(m_overlapped.hEvent);
    CloseHandle(m_folder);
}

void ChangeLog::Request() {
    ReadDirectoryChangesW(m_folder, m_buffer, sizeof(m_buffer), FALSE, kFilter, nullptr, &m_overlapped,
                          nullptr);
}

bool ChangeLog::WaitForName(std::wstring_view name) {
    while (WaitForSingleObject(m_overlapped.hEvent, kNoticeCapMilliseconds) == WAIT_OBJECT_0) {
        DWORD bytes = 0;
        GetOverlappedResult(m_folder, &m_overlapped, &bytes, TRUE);
        const bool isFound = HasName(bytes, name);
        Request();
        if (isFound) {
            return true;
        }
    }
    return false;
}

bool ChangeLog::HasName(DWORD bytes, std::wstring_view name) const {
    for (DWORD offset = 0; offset < bytes;) {
        FILE_NOTIFY_INFORMATION record;
        std::memcpy(&record, m_buffer + offset, sizeof(record));
        const auto* const text =
            reinterpret_cast<const wchar_t*>(m_buffer + offset + offsetof(FILE_NOTIFY_INFORMATION, FileName));
        if (std::wstring_view(text, record.FileNameLength / sizeof(wchar_t)) == name) {
            return true;
        }
        if (record.NextEntryOffset == 0) {
            break;
        }
        offset += record.NextEntryOffset;
    }
    return false;
}

} // namespace zq::test
