#include "platform/FileSettling.h"

#include "platform/Event.h"
#include "platform/Files.h"
#include "platform/Handle.h"
#include "platform/Mutex.h"

#include <optional>

namespace zq {

namespace {

constexpr DWORD kQuietMilliseconds = 20;
constexpr ULONGLONG kLongestWaitMilliseconds = 500;

// Asks for the file without letting others write. The handle is gone at once, and this is asked only when the
// file has been quiet, so that an editor hardly ever meets it.
bool IsOpenForWriting(const std::wstring& path, const Mutex& fileMutex) {
    MutexLock lock(fileMutex);
    const UniqueHandle file =
        AdoptFileHandle(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return !file && GetLastError() == ERROR_SHARING_VIOLATION;
}

} // namespace

Settling WaitUntilFileSettles(const std::wstring& path, const Mutex& fileMutex, const Event& stop) {
    const ULONGLONG start = GetTickCount64();
    std::optional<FileState> state = QueryFileState(path);
    Settling result = Settling::Unsettled;
    while (GetTickCount64() - start < kLongestWaitMilliseconds) {
        if (stop.Wait(kQuietMilliseconds)) {
            return Settling::Stopped;
        }
        const std::optional<FileState> now = QueryFileState(path);
        const bool isQuiet = now == state && !(now && IsOpenForWriting(path, fileMutex));
        result = isQuiet ? Settling::Settled : Settling::Unsettled;
        if (isQuiet && (!now || now->size != 0)) {
            return result;
        }
        state = now;
    }
    return result;
}

} // namespace zq
