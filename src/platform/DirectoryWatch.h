// Notices of changes in one folder, requested one completion at a time.
//
// A request ends with the thread that made it, so one thread opens, requests and fetches. The object may
// outlive that thread: once a terminated thread has ended, Close() frees what it left.
#pragma once

#include "platform/Event.h"
#include "platform/Handle.h"

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <string>

namespace zq {

class DirectoryWatch {
public:
    enum class Result {
        Change, // Records() says what changed
        Lost,   // more changed than the buffer holds: anything may have
        Nothing // the request failed, or has not completed
    };

    DirectoryWatch() = default;
    ~DirectoryWatch() { Close(); }
    DirectoryWatch(const DirectoryWatch&) = delete;
    DirectoryWatch& operator=(const DirectoryWatch&) = delete;

    // Subfolders are not watched. Returns whether the folder could be opened.
    bool Open(const std::wstring& folder);
    // Cancels a pending request and waits for it before its buffer is used again.
    void Close();

    // Requests the next changes; CompletionEvent() is signalled when they arrive. Returns 0 or the
    // system's error.
    DWORD Request();
    HANDLE CompletionEvent() const { return m_completed ? m_completed->Get() : nullptr; }

    // Returns the outcome of the request without waiting. Cancels a request that is still pending.
    Result Fetch();
    // FILE_NOTIFY_INFORMATION records, valid until the next request.
    std::span<const std::byte> Records() const { return {m_buffer.data(), m_bytes}; }

private:
    static constexpr size_t kBufferBytes = 1024;

    void Cancel();

    UniqueHandle m_folder;
    std::unique_ptr<Event> m_completed;
    OVERLAPPED m_overlapped{};
    bool m_isPending = false;
    size_t m_bytes = 0;
    alignas(DWORD) std::array<std::byte, kBufferBytes> m_buffer{};
};

} // namespace zq
