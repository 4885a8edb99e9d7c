// A signal that something in a folder has changed, whatever it was. On file systems that give none it is
// never signalled: whoever waits looks from time to time as well.
#pragma once

#include <filesystem>

#include <windows.h>

namespace zq::tool {

class FolderNotice {
public:
    explicit FolderNotice(const std::filesystem::path& folder)
        : m_handle(FindFirstChangeNotificationW(folder.c_str(), FALSE,
                                                FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_SIZE |
                                                    FILE_NOTIFY_CHANGE_LAST_WRITE)) {}
    ~FolderNotice() {
        if (IsOpen()) {
            FindCloseChangeNotification(m_handle);
        }
    }
    FolderNotice(const FolderNotice&) = delete;
    FolderNotice& operator=(const FolderNotice&) = delete;

    // Null where the system has none to give.
    HANDLE Get() const { return IsOpen() ? m_handle : nullptr; }
    // To be called after each signal, before the folder is looked at.
    void Renew() const {
        if (IsOpen() && WaitForSingleObject(m_handle, 0) == WAIT_OBJECT_0) {
            FindNextChangeNotification(m_handle);
        }
    }

private:
    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }

    HANDLE m_handle;
};

} // namespace zq::tool
