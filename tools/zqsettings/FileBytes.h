// Whole files, read without disturbing whoever else has them open, and written so that nothing is ever lost:
// a new file never goes over an existing one, and an exchange keeps what it replaces.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace zq::tool {

// A file that somebody holds is tried again for half a second. Raises Failure where it cannot be read.
std::string ReadBytes(const std::filesystem::path& path);

// Everything from standard input, as bytes.
std::string ReadStandardInput();

// Makes a new file, on the disk when this returns. Raises Failure where one of that name exists, a link
// included, or where it cannot be written; it leaves nothing then.
void WriteNewFile(const std::filesystem::path& path, std::string_view bytes);

// A new file with these bytes beside `target`, on the disk, under a name that nobody can guess, so that
// nobody can plant a link there. Removed at the end unless it was moved.
class TemporaryFile {
public:
    // Raises Failure, which names `target`, where it cannot be written.
    TemporaryFile(std::filesystem::path target, std::string_view bytes);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    // Renames it. Returns false where something of that name exists; raises Failure where it cannot be moved.
    bool MoveToFree(const std::filesystem::path& path);
    // Puts it in the place of its target, a link there included, which is gone then. Raises Failure where
    // that fails; the target is as it was then. A file that somebody holds is tried again for half a second.
    void Replace();
    // The same, but the target is moved to `keptAs`.
    void Exchange(const std::filesystem::path& keptAs);

private:
    std::filesystem::path m_target;
    std::filesystem::path m_path; // empty once it is moved
};

// Puts a file with these bytes in the place of `path` by one rename. What it replaces, whatever it is by
// then, is moved to `keptAs`, which must not exist. Raises Failure where that fails; `path` is as it was
// then. A file that somebody holds is tried again for half a second.
void ExchangeFile(const std::filesystem::path& path, std::string_view bytes,
                  const std::filesystem::path& keptAs);

} // namespace zq::tool
