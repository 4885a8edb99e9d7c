#define _CRT_RAND_S // NOLINT(bugprone-reserved-identifier): asks the library for rand_s
#include "platform/Files.h"

#include "platform/FileTicks.h"
#include "platform/TemporaryName.h"

#include <cstdlib>
#include <filesystem>
#include <io.h>
#include <string_view>
#include <system_error>

namespace zq {

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

constexpr uint64_t kTicksPerSecond = 10'000'000;
constexpr int64_t kSecondsFrom1601To1970 = 11'644'473'600;

FileTime TimeOf(const FILETIME& time) {
    const uint64_t ticks = TicksOf(time);
    return {static_cast<int64_t>(ticks / kTicksPerSecond) - kSecondsFrom1601To1970, ticks};
}

UniqueHandle OpenExisting(const std::wstring& path, DWORD access, DWORD share, DWORD flags = 0) {
    return AdoptFileHandle(CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, flags, nullptr));
}

FileSnapshot NoContent(DWORD error) {
    FileSnapshot snapshot;
    snapshot.access = AccessOf(error);
    snapshot.error = error;
    return snapshot;
}

// Returns whether the file was read-only.
bool MakeWritable(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_READONLY) == 0 ||
        (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return false;
    }
    return SetFileAttributesW(path.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY}) != 0;
}

DWORD FlushPath(const std::wstring& path) {
    const UniqueHandle file = OpenExisting(path, GENERIC_WRITE, kShareAll);
    return file && FlushFileBuffers(file.get()) ? DWORD{ERROR_SUCCESS} : GetLastError();
}

// Returns the path of an open file or folder with every link resolved; empty if the system cannot say.
std::wstring FinalPath(HANDLE file) {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetFinalPathNameByHandleW(file, path.data(), static_cast<DWORD>(path.size()),
                                                       FILE_NAME_NORMALIZED);
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(length);
    }
}

std::wstring_view FolderOf(std::wstring_view path) {
    const size_t backslash = path.rfind(L'\\');
    return path.substr(0, backslash == std::wstring_view::npos ? 0 : backslash);
}

bool IsFolderItself(HANDLE file) {
    BY_HANDLE_FILE_INFORMATION information{};
    return GetFileInformationByHandle(file, &information) &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

std::error_code SystemError(uint32_t error) { return {static_cast<int>(error), std::system_category()}; }

} // namespace

int ExistenceResult(const std::wstring& path) { return _waccess(path.c_str(), 0); }

std::optional<FileTime> LastWriteTime(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) {
        return std::nullopt;
    }
    return TimeOf(data.ftLastWriteTime);
}

FileSnapshot ReadSnapshot(const std::wstring& path) {
    const UniqueHandle file = OpenExisting(path, GENERIC_READ, kShareAll);
    FILETIME time{};
    if (!file || !GetFileTime(file.get(), nullptr, nullptr, &time)) {
        return NoContent(GetLastError());
    }
    FileSnapshot snapshot;
    snapshot.lastWrite = TimeOf(time);
    if (const DWORD error = ReadWhole(file.get(), snapshot.bytes)) {
        return NoContent(error);
    }
    snapshot.access = FileAccess::Read;
    return snapshot;
}

bool IsOpenForWriting(const std::wstring& path) {
    const UniqueHandle file = OpenExisting(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE);
    return !file && IsHeldError(GetLastError());
}

bool IsHeldError(uint32_t error) {
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
           error == ERROR_USER_MAPPED_FILE;
}

bool IsMissingError(uint32_t error) { return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND; }

FileAccess AccessOf(uint32_t error) {
    if (IsHeldError(error)) {
        return FileAccess::Held;
    }
    return IsMissingError(error) ? FileAccess::Missing : FileAccess::Failed;
}

uint32_t ReadWhole(void* file, std::vector<char>& bytes) {
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file, &size)) {
        return GetLastError();
    }
    if (size.QuadPart > INT32_MAX) {
        return ERROR_FILE_TOO_LARGE;
    }
    bytes.resize(static_cast<size_t>(size.QuadPart));
    DWORD read = 0;
    if (!bytes.empty() && !ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) {
        return GetLastError();
    }
    bytes.resize(read);
    return ERROR_SUCCESS;
}

uint32_t CopyToNewFile(const std::wstring& from, const std::wstring& to) {
    if (!CopyFileW(from.c_str(), to.c_str(), TRUE)) {
        return GetLastError();
    }
    MakeWritable(to);
    const DWORD error = FlushPath(to);
    if (error != ERROR_SUCCESS) {
        DeletePath(to);
    }
    return error;
}

uint32_t WriteNewFile(const std::wstring& path, const std::vector<char>& bytes) {
    UniqueHandle file = AdoptFileHandle(CreateFileW(path.c_str(), GENERIC_WRITE, kShareAll, nullptr,
                                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        return GetLastError();
    }
    DWORD error = ERROR_SUCCESS;
    DWORD written = 0;
    const auto size = static_cast<DWORD>(bytes.size());
    if ((size != 0 && !WriteFile(file.get(), bytes.data(), size, &written, nullptr)) ||
        !FlushFileBuffers(file.get())) {
        error = GetLastError();
    } else if (written != size) {
        error = ERROR_DISK_FULL;
    }
    file.reset();
    if (error != ERROR_SUCCESS) {
        DeletePath(path);
    }
    return error;
}

uint32_t RenameFile(const std::wstring& from, const std::wstring& to, Replacing replacing) {
    const bool isReplacing = replacing == Replacing::Yes;
    const bool wasReadOnly = isReplacing && MakeWritable(to);
    const DWORD flags = MOVEFILE_WRITE_THROUGH | (isReplacing ? DWORD{MOVEFILE_REPLACE_EXISTING} : 0);
    if (MoveFileExW(from.c_str(), to.c_str(), flags)) {
        return ERROR_SUCCESS;
    }
    const DWORD error = GetLastError();
    if (wasReadOnly) {
        SetFileAttributesW(to.c_str(), GetFileAttributesW(to.c_str()) | FILE_ATTRIBUTE_READONLY);
    }
    return error;
}

uint32_t DeletePath(const std::wstring& path) {
    MakeWritable(path);
    if (DeleteFileW(path.c_str())) {
        return ERROR_SUCCESS;
    }
    const DWORD error = GetLastError();
    return IsMissingError(error) ? DWORD{ERROR_SUCCESS} : error;
}

bool IsLinkElsewhere(const std::wstring& path) {
    const UniqueHandle file = OpenExisting(path, 0, kShareAll, FILE_FLAG_BACKUP_SEMANTICS);
    return file && LeadsElsewhere(file.get(), path);
}

bool LeadsElsewhere(void* file, const std::wstring& path) {
    const UniqueHandle folder =
        OpenExisting(std::wstring(FolderOf(path)) + L"\\", 0, kShareAll, FILE_FLAG_BACKUP_SEMANTICS);
    return folder && FolderOf(FinalPath(file)) != FinalPath(folder.get());
}

// Opens the link itself if the system can do that; Wine follows it, which the final path shows.
PinnedFolder::PinnedFolder(const std::wstring& path)
    : m_folder(OpenExisting(path, FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE,
                            FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT)) {
    if (m_folder && (!IsFolderItself(m_folder.get()) || LeadsElsewhere(m_folder.get(), path))) {
        m_folder.reset();
    }
}

std::wstring TemporaryPath(const std::wstring& path) {
    constexpr wchar_t kDigits[] = L"0123456789abcdef";
    std::wstring temporary = path + L'.';
    unsigned int random = 0;
    for (size_t i = 0; i < kTemporaryDigits; ++i) {
        if (i % 4 == 0) {
            rand_s(&random);
        }
        temporary += kDigits[random & 0xFU];
        random >>= 4U;
    }
    return temporary.append(kTemporarySuffix);
}

void RaiseFileError(const char* what, const std::wstring& path, uint32_t error) {
    throw std::filesystem::filesystem_error(what, path, SystemError(error));
}

void RaiseFileError(const char* what, const std::wstring& from, const std::wstring& to, uint32_t error) {
    throw std::filesystem::filesystem_error(what, from, to, SystemError(error));
}

} // namespace zq
