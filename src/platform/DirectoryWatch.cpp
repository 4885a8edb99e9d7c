#include "platform/DirectoryWatch.h"

namespace zq {

namespace {

constexpr DWORD kFilter = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_DIR_NAME |
                          FILE_NOTIFY_CHANGE_LAST_WRITE | FILE_NOTIFY_CHANGE_CREATION;
static_assert(kFilter == 0x53);

} // namespace

bool DirectoryWatch::Open(const std::wstring& folder) {
    Close();
    m_folder = AdoptFileHandle(CreateFileW(
        folder.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr));
    if (!m_folder) {
        return false;
    }
    m_completed = std::make_unique<Event>(EventReset::Auto);
    return true;
}

void DirectoryWatch::Close() {
    Cancel();
    m_completed.reset();
    m_folder.reset();
}

DWORD DirectoryWatch::Request() {
    // Zeroed, so that nothing stale is ever read as a record.
    m_buffer = {};
    m_bytes = 0;
    m_overlapped = {};
    m_overlapped.hEvent = CompletionEvent();
    if (!m_overlapped.hEvent) {
        return ERROR_INVALID_HANDLE;
    }
    if (!ReadDirectoryChangesW(m_folder.get(), m_buffer.data(), kBufferBytes, FALSE, kFilter, nullptr,
                               &m_overlapped, nullptr)) {
        const DWORD error = GetLastError();
        if (error != ERROR_IO_PENDING) {
            return error;
        }
    }
    m_isPending = true;
    return ERROR_SUCCESS;
}

DirectoryWatch::Result DirectoryWatch::Fetch() {
    DWORD bytes = 0;
    if (!GetOverlappedResult(m_folder.get(), &m_overlapped, &bytes, FALSE)) {
        const DWORD error = GetLastError();
        if (error == ERROR_IO_INCOMPLETE) {
            Cancel();
        }
        m_isPending = false;
        return error == ERROR_NOTIFY_ENUM_DIR ? Result::Lost : Result::Nothing;
    }
    m_isPending = false;
    m_bytes = bytes;
    return bytes == 0 ? Result::Lost : Result::Change;
}

void DirectoryWatch::Cancel() {
    if (!m_isPending) {
        return;
    }
    m_isPending = false;
    if (CancelIoEx(m_folder.get(), &m_overlapped) || GetLastError() != ERROR_NOT_FOUND) {
        DWORD ignored = 0;
        GetOverlappedResult(m_folder.get(), &m_overlapped, &ignored, TRUE);
    }
}

} // namespace zq
