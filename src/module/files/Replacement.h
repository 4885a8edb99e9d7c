// Replaces a private file by its default copy so that nothing is lost, whatever fails: the copy is made
// beside the file under a temporary name, then exchanged by one rename. A failure leaves either the old
// content or the new one, complete.
//
// A refused file holds somebody's work. If the data folder has a sub-folder "rejected" (an installer or the
// user creates it, the module never does), the file is moved there. If the file is a link out of the data
// folder, the link is replaced and its target is not touched.
#pragma once

#include "module/files/PrivateFile.h"

namespace zq {

enum class Replacement {
    Done,
    Overtaken, // the file is not what the look found any more; nothing was changed
    Held,      // another program holds the file or its default; nothing was changed
    Failed     // `error` says why; the file is as it was
};

struct ReplacementResult {
    Replacement outcome = Replacement::Done;
    uint32_t error = 0;
};

// `expected` is the look that found the file refused or missing. It is compared with the file under the
// file's mutex before anything is changed.
ReplacementResult ReplaceByDefault(const PrivateFile& file, const FileLook& expected);

// Raises std::filesystem::filesystem_error for a failed replacement.
[[noreturn]] void RaiseReplacementError(const PrivateFile& file, uint32_t error);

} // namespace zq
