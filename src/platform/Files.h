// Files as the module uses them: whole, by path, from whatever else has them open.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zq {

// When a file was last written. Seconds alone cannot tell two quick saves apart, so the file system's own
// value is kept beside them.
struct FileTime {
    int64_t seconds = 0; // since 1970-01-01 UTC
    uint64_t ticks = 0;  // of 100 nanoseconds, since 1601-01-01 UTC

    friend bool operator==(const FileTime&, const FileTime&) = default;
};

struct FileState {
    FileTime lastWrite;
    uint64_t size = 0; // in bytes

    friend bool operator==(const FileState&, const FileState&) = default;
};

// The file-system access test for existence: 0 when the path exists, -1 when it does not.
int ExistenceResult(const std::wstring& path);
inline bool FileExists(const std::wstring& path) { return ExistenceResult(path) == 0; }

// Nothing when the path cannot be queried.
std::optional<FileState> QueryFileState(const std::wstring& path);
std::optional<FileTime> LastWriteTime(const std::wstring& path);

enum class CopyMode { FailIfExists, Overwrite };

// Copies a file with its last-write time. Raises std::filesystem::filesystem_error on failure; a target that
// somebody else holds open is tried again for half a second first.
void CopyWholeFile(const std::wstring& from, const std::wstring& to, CopyMode mode);

// Deletes a file; a missing one is no error. Raises and tries again as CopyWholeFile does.
void RemoveFile(const std::wstring& path);

// The whole content, or nothing when the file cannot be opened. Others may read, write, rename and delete
// meanwhile.
std::optional<std::vector<char>> ReadWholeFile(const std::wstring& path);

} // namespace zq
