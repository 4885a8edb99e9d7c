// A variable's name as the save path compares it with the names in a file.
#pragma once

#include <string>
#include <string_view>

namespace zq {

// The name in the thread's ANSI code page, with the best fit for what that code page lacks. Raises
// std::system_error when the system refuses the conversion.
std::string NarrowName(std::wstring_view name);

} // namespace zq
