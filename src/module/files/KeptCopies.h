// Copies of private files that are kept for their author, as "<name>.<UTC time>": in "rejected" what a repair
// replaced, in "kept" what was loaded. Each folder is used only where it exists (an installer or the user
// makes it, the module never does) and is no link out of the data folder. The newest ten of each name stay;
// other files are never touched.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zq {

// Whether it is the name of a copy of `fileName`: "<name>.20260102T030405.678Z".
bool IsCopyName(std::wstring_view name, std::wstring_view fileName);

// Moves a file to "rejected". Returns where it is now; empty, with the file where it was, when there is no
// such folder or the file cannot be moved.
std::wstring MoveToRejected(const std::wstring& path);

// Copies a content that was loaded to "kept", unless it equals the newest copy there. Failing changes
// nothing.
void KeepLoaded(const std::wstring& path, const std::vector<char>& bytes);

} // namespace zq
