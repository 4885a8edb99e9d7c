// A whole JSON file as a document of the JSON library: read, and written back over the file.
//
// Neither knows which file it handles. The caller holds the file's mutex around the read, the change and the
// write.
#pragma once

#include "save/RapidJson.h"

#include <cstdint>
#include <memory>
#include <string>

namespace zq {

class HostLog;
class MutexLock;

// Returns 0 and hands out a document; 1 when the file cannot be opened or has fewer than 4 bytes; else the
// library's parse error code. However deep the file, the stack does not grow with it.
int32_t LoadJsonDoc(const std::wstring& path, std::unique_ptr<EditableDocument>& document);

// Writes the document over the file: 4 blanks of indentation, at most 4 decimal places, ASCII escapes, no
// mark, nothing behind the root. Releases `fileLock`, then logs the result, so that the host is called
// without a lock. Returns 0, or 1 when the file could not be opened; it is as it was then. A write error
// behind that is not seen.
//
// The document must pass IsWritable.
int32_t SaveJsonDoc(const std::wstring& path, const EditableDocument& document, const HostLog& log,
                    MutexLock& fileLock);

} // namespace zq
