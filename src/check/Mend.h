// A mended copy of a configuration file: what can be put right without guessing what its author meant.
//
// Portable.
#pragma once

#include "check/SourceText.h"
#include "config/ConfigText.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zq {

struct MendedFile {
    std::string bytes;
    Encoding encoding;      // of the original
    size_t characters = 0;  // beyond ASCII, and zeros, now written as escapes
    size_t trailing = 0;    // blanks behind the end, taken away
    size_t zeroBytes = 0;   // behind them, taken away
    bool isChanged = false; // or the original has nothing to be mended

    friend bool operator==(const MendedFile&, const MendedFile&) = default;
};

// Takes away a mark, UTF-16, blanks and zero bytes behind the end, and writes characters beyond ASCII, and
// zeros in texts, as escapes. Nothing when that does not make a file that the module takes: the rest is for
// its author. What is returned is accepted always, gives the variables that the text with its own characters
// would give, and has nothing more to be mended.
std::optional<MendedFile> MendFile(ConfigFile file, std::string_view bytes);

} // namespace zq
