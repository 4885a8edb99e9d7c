// Notices of the native builds, in place of the component's own: a thread reads them from inotify and
// signals the event of the request, as the system does.
#include "platform/DirectoryWatch.h"

#include "shim/Object.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace zq {

namespace {

struct Notice {
    DWORD action;
    std::wstring name;
};

DWORD ActionOf(uint32_t mask) {
    if ((mask & IN_MOVED_FROM) != 0) {
        return FILE_ACTION_RENAMED_OLD_NAME;
    }
    if ((mask & IN_MOVED_TO) != 0) {
        return FILE_ACTION_RENAMED_NEW_NAME;
    }
    return (mask & IN_CREATE) != 0   ? FILE_ACTION_ADDED
           : (mask & IN_DELETE) != 0 ? FILE_ACTION_REMOVED
                                     : FILE_ACTION_MODIFIED;
}

class Folder final : public shim::Object {
public:
    Folder(const std::wstring& path, const Event& completed)
        : m_completed(completed), m_inotify(inotify_init1(IN_NONBLOCK)), m_stop(eventfd(0, 0)),
          m_watch(inotify_add_watch(m_inotify, std::filesystem::path(path).c_str(),
                                    IN_CREATE | IN_DELETE | IN_MODIFY | IN_MOVED_FROM | IN_MOVED_TO)),
          m_thread([this] { Listen(); }) {}
    ~Folder() override {
        eventfd_write(m_stop, 1);
        m_thread.join();
        close(m_inotify);
        close(m_stop);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    bool IsOpen() const { return m_watch >= 0; }

    void Request() {
        const std::lock_guard lock(m_mutex);
        m_isRequested = true;
        Complete();
    }
    std::vector<Notice> Fetch() {
        const std::lock_guard lock(m_mutex);
        m_isRequested = false;
        return std::exchange(m_notices, {});
    }

private:
    void Listen() {
        pollfd sources[] = {{m_stop, POLLIN, 0}, {m_inotify, POLLIN, 0}};
        while (poll(sources, 2, -1) >= 0 && (sources[0].revents & POLLIN) == 0) {
            alignas(inotify_event) char buffer[4096];
            const ssize_t count = read(m_inotify, buffer, sizeof(buffer));
            const std::lock_guard lock(m_mutex);
            for (ssize_t offset = 0; offset < count;) {
                inotify_event event;
                std::memcpy(&event, buffer + offset, sizeof(event));
                const std::string name(event.len != 0 ? buffer + offset + sizeof(event) : "");
                m_notices.push_back({ActionOf(event.mask), std::wstring(name.begin(), name.end())});
                offset += static_cast<ssize_t>(sizeof(event) + event.len);
            }
            Complete();
        }
    }
    void Complete() {
        if (m_isRequested && !m_notices.empty()) {
            m_completed.Set();
        }
    }

    const Event& m_completed;
    std::mutex m_mutex;
    bool m_isRequested = false;
    std::vector<Notice> m_notices;
    int m_inotify;
    int m_stop;
    int m_watch;
    std::thread m_thread;
};

Folder& FolderOf(const UniqueHandle& handle) { return *static_cast<Folder*>(shim::AsObject(handle.get())); }

// Returns the bytes written, 0 where the notices do not fit.
size_t WriteRecords(const std::vector<Notice>& notices, std::span<std::byte> buffer) {
    constexpr size_t kNameOffset = offsetof(FILE_NOTIFY_INFORMATION, FileName);
    size_t offset = 0;
    for (const Notice& notice : notices) {
        const size_t nameBytes = notice.name.size() * sizeof(wchar_t);
        const size_t size = kNameOffset + nameBytes;
        if (size > buffer.size() - offset) {
            return 0;
        }
        const bool isLast = &notice == &notices.back();
        const FILE_NOTIFY_INFORMATION header{
            isLast ? 0 : static_cast<DWORD>(size), notice.action, static_cast<DWORD>(nameBytes), {}};
        std::memcpy(buffer.data() + offset, &header, kNameOffset);
        std::memcpy(buffer.data() + offset + kNameOffset, notice.name.data(), nameBytes);
        offset += size;
    }
    return offset;
}

} // namespace

bool DirectoryWatch::Open(const std::wstring& folder) {
    Close();
    m_completed = std::make_unique<Event>(EventReset::Auto);
    m_folder.reset(static_cast<shim::Object*>(new Folder(folder, *m_completed)));
    return FolderOf(m_folder).IsOpen();
}

void DirectoryWatch::Close() {
    m_folder.reset();
    m_completed.reset();
}

DWORD DirectoryWatch::Request() {
    FolderOf(m_folder).Request();
    return ERROR_SUCCESS;
}

DirectoryWatch::Result DirectoryWatch::Fetch() {
    const std::vector<Notice> notices = FolderOf(m_folder).Fetch();
    m_bytes = WriteRecords(notices, m_buffer);
    if (notices.empty()) {
        return Result::Nothing;
    }
    return m_bytes == 0 ? Result::Lost : Result::Change;
}

} // namespace zq
