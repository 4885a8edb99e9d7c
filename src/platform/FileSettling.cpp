#include "platform/FileSettling.h"

#include "platform/Event.h"
#include "platform/Handle.h"

#include <cstdint>

namespace zq {

namespace {

constexpr DWORD kQuietMilliseconds = 20;
constexpr ULONGLONG kLongestWaitMilliseconds = 500;

struct FileState {
    bool exists = false;
    uint64_t size = 0;
    uint64_t time = 0;

    friend bool operator==(const FileState&, const FileState&) = default;
};

uint64_t Join(DWORD high, DWORD low) { return static_cast<uint64_t>(high) << 32U | low; }

FileState StateOf(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) {
        return {};
    }
    return {true, Join(data.nFileSizeHigh, data.nFileSizeLow),
            Join(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime)};
}

// Asks for the file without letting others write. The handle is gone at once, and this is asked only when the
// file has been quiet, so that an editor hardly ever meets it.
bool IsOpenForWriting(const std::wstring& path) {
    const UniqueHandle file =
        AdoptFileHandle(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return !file && GetLastError() == ERROR_SHARING_VIOLATION;
}

} // namespace

bool WaitUntilFileSettles(const std::wstring& path, const Event& stop) {
    const ULONGLONG start = GetTickCount64();
    FileState state = StateOf(path);
    while (GetTickCount64() - start < kLongestWaitMilliseconds) {
        if (stop.Wait(kQuietMilliseconds)) {
            return false;
        }
        const FileState now = StateOf(path);
        const bool isQuiet = now == state && (!now.exists || now.size != 0);
        if (isQuiet && !(now.exists && IsOpenForWriting(path))) {
            return true;
        }
        state = now;
    }
    return true;
}

} // namespace zq
