// Makes a corrected copy of a configuration file, without guessing what its author meant.
//
// Portable.
#pragma once

#include "check/SourceText.h"
#include "config/ConfigText.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zq {

struct FixedFile {
    std::string bytes;
    Encoding encoding = Encoding::Ascii;         // of the original
    std::map<std::string_view, size_t> problems; // that were fixed, by code
    size_t characters = 0;                       // beyond ASCII, and zeros, now written as escapes
    size_t trailing = 0;                         // blanks that were removed after the end
    size_t zeroBytes = 0;                        // that were removed after them
    bool isChanged = false;                      // false where there was nothing to fix
};

// Applies the edits of each problem, converts UTF-16, removes a byte order mark and blanks and zero bytes
// after the end, and writes non-ASCII characters, and zeros in texts, as escapes. Returns nothing if only
// the author can correct the file. The result is always accepted, gives the same variables as the text with
// its own characters, and has nothing more to fix.
std::optional<FixedFile> FixFile(ConfigFile file, std::string_view bytes);

} // namespace zq
