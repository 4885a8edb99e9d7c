// Changes of one folder, asked for one completion at a time. A pending request is cancelled and waited for
// before its buffer goes. One thread: a request dies with the thread that made it.
#pragma once

#include "platform/Event.h"
#include "platform/Handle.h"

#include <array>
#include <string>
#include <string_view>

namespace zq {

class DirectoryWatch {
public:
    enum class Result {
        Change, // FirstName() is the first of the names that changed
        Lost,   // more changed than could be told: anything may have
        Nothing // the request failed, or has not completed
    };

    // Subfolders are not watched.
    explicit DirectoryWatch(const std::wstring& folder);
    ~DirectoryWatch() { Cancel(); }
    DirectoryWatch(const DirectoryWatch&) = delete;
    DirectoryWatch& operator=(const DirectoryWatch&) = delete;

    bool IsOpen() const { return m_folder != nullptr; }

    // Asks for the next changes; CompletionEvent() is signalled when there are some. Returns 0 or the
    // system's error.
    DWORD Request();
    HANDLE CompletionEvent() const { return m_completed.Get(); }

    // The outcome of the request, without waiting. A request that is still under way is cancelled.
    Result Fetch();
    // Valid until the next request.
    std::wstring_view FirstName() const { return m_firstName; }

private:
    static constexpr size_t kBufferBytes = 1024;

    void Cancel();

    UniqueHandle m_folder;
    Event m_completed{EventReset::Auto};
    OVERLAPPED m_overlapped{};
    bool m_isPending = false;
    std::wstring_view m_firstName;
    alignas(DWORD) std::array<std::byte, kBufferBytes> m_buffer{};
};

} // namespace zq
