// A file that is read and then overwritten in place, while nobody else can write it: it keeps its identity,
// its attributes and its access list.
//
// The caller must hold the file's mutex for the lifetime of the object. Nothing is logged.
#pragma once

#include "platform/Files.h"
#include "platform/Handle.h"

#include <string_view>
#include <vector>

namespace zq {

class EditableFile {
public:
    // Opens an existing file; others may read it, rename it and delete it, but not write it. Access() gives
    // the result, which is also Failed if the path leads to a file in another folder.
    explicit EditableFile(const std::wstring& path);

    FileAccess Access() const { return m_access; }

    // REQUIRES: Access() is Read. Returns 0 or the system's error.
    uint32_t Read(std::vector<char>& bytes) const;

    // Replaces the content, which is `old`, with `fresh` and flushes it to the disk. The part beyond the
    // length of `old` is written first, so that a full disk is noticed before the old content has changed.
    // Returns 0, or the system's error with the old content restored as far as the system allows.
    //
    // REQUIRES: Access() is Read.
    uint32_t Overwrite(std::string_view old, std::string_view fresh) const;

private:
    uint32_t Replace(std::string_view old, std::string_view fresh) const;
    uint32_t WriteAt(uint64_t offset, std::string_view bytes) const;
    uint32_t SetLength(uint64_t length) const;

    UniqueHandle m_file;
    FileAccess m_access = FileAccess::Read;
};

} // namespace zq
