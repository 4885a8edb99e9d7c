// Keeps copies of private files for their author, as "<name>.<UTC time>": in "rejected" what a repair
// replaced, in "kept" what was loaded. Each folder is used only if it exists (an installer or the user
// creates it, the module never does) and is not a link. The newest ten of each name stay; other files are
// never touched.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zq {

// Whether this is the name of a copy of `fileName`: "<name>.20260102T030405.678Z".
bool IsCopyName(std::wstring_view name, std::wstring_view fileName);

// Moves a file to "rejected" and returns its new path. Returns an empty path and leaves the file in place if
// there is no such folder or the file cannot be moved.
std::wstring MoveToRejected(const std::wstring& path);

// Copies content that was loaded to "kept", unless it equals the newest copy there. A failure changes
// nothing.
void KeepLoaded(const std::wstring& path, const std::vector<char>& bytes);

} // namespace zq
