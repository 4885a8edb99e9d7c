#include "platform/Files.h"

#include "platform/Handle.h"

#include <filesystem>
#include <io.h>
#include <system_error>

namespace zq {

namespace {

// An editor or a virus scanner holds a file for some milliseconds only.
constexpr DWORD kSharingRetryMilliseconds = 500;
constexpr DWORD kSharingRetryPause = 10;

constexpr uint64_t kTicksPerSecond = 10'000'000;
constexpr int64_t kSecondsFrom1601To1970 = 11'644'473'600;

uint64_t Join(DWORD high, DWORD low) { return static_cast<uint64_t>(high) << 32U | low; }

bool IsHeldByOthers(DWORD error) {
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
           error == ERROR_USER_MAPPED_FILE;
}

// Runs `operation` until it succeeds or fails for another reason than somebody holding the file. Returns its
// last error, 0 for success.
template <class Operation>
DWORD RetryWhileHeld(Operation operation) {
    const ULONGLONG start = GetTickCount64();
    for (;;) {
        if (operation()) {
            return ERROR_SUCCESS;
        }
        const DWORD error = GetLastError();
        if (!IsHeldByOthers(error) || GetTickCount64() - start >= kSharingRetryMilliseconds) {
            return error;
        }
        Sleep(kSharingRetryPause);
    }
}

std::error_code SystemError(DWORD error) { return {static_cast<int>(error), std::system_category()}; }

} // namespace

int ExistenceResult(const std::wstring& path) { return _waccess(path.c_str(), 0); }

std::optional<FileState> QueryFileState(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) {
        return std::nullopt;
    }
    const uint64_t ticks = Join(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime);
    const int64_t seconds = static_cast<int64_t>(ticks / kTicksPerSecond) - kSecondsFrom1601To1970;
    return FileState{{seconds, ticks}, Join(data.nFileSizeHigh, data.nFileSizeLow)};
}

std::optional<FileTime> LastWriteTime(const std::wstring& path) {
    const std::optional<FileState> state = QueryFileState(path);
    return state ? std::optional(state->lastWrite) : std::nullopt;
}

void CopyWholeFile(const std::wstring& from, const std::wstring& to, CopyMode mode) {
    const BOOL failIfExists = mode == CopyMode::FailIfExists ? TRUE : FALSE;
    const DWORD error =
        RetryWhileHeld([&] { return CopyFileW(from.c_str(), to.c_str(), failIfExists) != 0; });
    if (error != ERROR_SUCCESS) {
        throw std::filesystem::filesystem_error("cannot copy", from, to, SystemError(error));
    }
}

void RemoveFile(const std::wstring& path) {
    const DWORD error = RetryWhileHeld([&] { return DeleteFileW(path.c_str()) != 0; });
    if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) {
        throw std::filesystem::filesystem_error("cannot remove", path, SystemError(error));
    }
}

std::optional<std::vector<char>> ReadWholeFile(const std::wstring& path) {
    const UniqueHandle file = AdoptFileHandle(
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        return std::nullopt;
    }
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file.get(), &size) || size.QuadPart > INT32_MAX) {
        return std::nullopt;
    }
    std::vector<char> bytes(static_cast<size_t>(size.QuadPart));
    DWORD read = 0;
    if (!bytes.empty() &&
        !ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) {
        return std::nullopt;
    }
    bytes.resize(read);
    return bytes;
}

} // namespace zq
