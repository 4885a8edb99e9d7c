// Files as the module uses them: as a whole, by path, and without disturbing other programs. Every open here
// lets others read, write, rename and delete the file at the same time.
//
// A file that another program holds open without sharing is not an error: every operation reports it as held,
// and the caller tries again later. Errors are the system's codes; 0 is success. Any thread may call; nothing
// is logged.
#pragma once

#include "platform/Handle.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zq {

// When a file was last written. Seconds cannot distinguish two quick saves, so the file system's own value is
// kept too.
struct FileTime {
    int64_t seconds = 0; // since 1970-01-01 UTC
    uint64_t ticks = 0;  // of 100 nanoseconds, since 1601-01-01 UTC

    friend bool operator==(const FileTime&, const FileTime&) = default;
};

// The file-system access test for existence: 0 if the path exists, -1 if it does not. A dangling link does
// not exist.
int ExistenceResult(const std::wstring& path);
inline bool FileExists(const std::wstring& path) { return ExistenceResult(path) == 0; }

// Returns nothing if the path cannot be queried.
std::optional<FileTime> LastWriteTime(const std::wstring& path);

enum class FileAccess {
    Read,
    Missing,
    Held,  // another program does not share it at the moment
    Failed // for a reason that waiting does not remove
};

// The result of one look at a file.
struct FileSnapshot {
    FileAccess access = FileAccess::Missing;
    uint32_t error = 0;      // unless Read
    FileTime lastWrite;      // of the same open file, immediately before its bytes were read
    std::vector<char> bytes; // the whole content
};

// A file of 2 GB and more is Failed.
FileSnapshot ReadSnapshot(const std::wstring& path);

// Whether another program has the file open for writing. The test briefly keeps others from opening the file
// for writing, so it is made only for a refused file. The caller must hold the mutex that the module's own
// writers of this file hold.
bool IsOpenForWriting(const std::wstring& path);

// Whether the error says that another program holds the file.
bool IsHeldError(uint32_t error);
bool IsMissingError(uint32_t error);
// What this error of a failed open says about the file; never Read.
FileAccess AccessOf(uint32_t error);

// Reads an open file from its current position to its current end. `file` is a HANDLE.
uint32_t ReadWhole(void* file, std::vector<char>& bytes);

// Copies a file with its last-write time to a path that does not exist, and flushes the copy to the disk. The
// copy is not read-only. Leaves nothing behind on failure.
uint32_t CopyToNewFile(const std::wstring& from, const std::wstring& to);

// Creates a file with this content, unless the path exists. Leaves nothing behind on failure.
uint32_t WriteNewFile(const std::wstring& path, const std::vector<char>& bytes);

enum class Replacing { No, Yes };

// Renames within one volume. Links are not followed: a link at either path is itself renamed or replaced. A
// read-only target is replaced too.
uint32_t RenameFile(const std::wstring& from, const std::wstring& to, Replacing replacing);

// Deletes a file or a link, read-only or not. A missing file is not an error.
uint32_t DeletePath(const std::wstring& path);

// Whether the path is a link to a file or folder outside the folder that the path names. False if the path
// does not exist.
bool IsLinkElsewhere(const std::wstring& path);

// The same for a file that was opened by that path: what is then done through the handle can no longer be
// redirected. `file` is a HANDLE.
bool LeadsElsewhere(void* file, const std::wstring& path);

// A folder that is not a link. During the lifetime of the object nobody can rename or delete the folder, so
// paths through it always lead to the same place.
class PinnedFolder {
public:
    explicit PinnedFolder(const std::wstring& path);

    // Whether there is such a folder.
    explicit operator bool() const { return static_cast<bool>(m_folder); }

private:
    UniqueHandle m_folder;
};

// Returns an unguessable path beside `path` that does not exist yet. IsTemporaryName recognises its name.
std::wstring TemporaryPath(const std::wstring& path);

// Raises std::filesystem::filesystem_error with the paths and the system's text.
[[noreturn]] void RaiseFileError(const char* what, const std::wstring& path, uint32_t error);
[[noreturn]] void RaiseFileError(const char* what, const std::wstring& from, const std::wstring& to,
                                 uint32_t error);

} // namespace zq
