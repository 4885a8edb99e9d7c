// A private file replaced by its default copy, so that nothing is lost whatever fails: the copy is made
// beside the file under a temporary name, then exchanged by one rename. What a failure leaves is the old
// content or the new one, whole.
//
// A refused file holds somebody's work. Where the data folder has a sub-folder "rejected" (an installer or
// the user makes it, the module never does), the file is moved there. A file that is a link out of the data
// folder is replaced itself; its target is not touched.
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

// `expected` is the look that decided: a file that was refused, or one that was missing. It is compared with
// the file under the file's mutex, before anything is changed.
ReplacementResult ReplaceByDefault(const PrivateFile& file, const FileLook& expected);

// Raises std::filesystem::filesystem_error for a replacement that failed.
[[noreturn]] void RaiseReplacementError(const PrivateFile& file, uint32_t error);

} // namespace zq
