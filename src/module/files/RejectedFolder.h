// What becomes of a private file that its loader refused.
//
// Such a file holds somebody's work. Where the data folder has a sub-folder "rejected" (an installer or the
// user makes it, the module never does), the file is kept there; without it, or where it cannot be written,
// the file is deleted.
#pragma once

#include <string>

namespace zq {

// Moves the file to "rejected\<name>.<UTC time>", of which the newest ten are kept for each name, or deletes
// it. Raises std::filesystem::filesystem_error when it can be neither moved nor deleted; a missing file is no
// error.
void RemoveRejectedFile(const std::wstring& path);

} // namespace zq
