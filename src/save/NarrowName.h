// A variable's name as the save path compares it with the names in a file.
#pragma once

#include <string>
#include <string_view>

namespace zq {

// Returns the name in the thread's ANSI code page, with the best fit for characters that the code page lacks.
// Raises std::system_error if the system refuses the conversion.
std::string NarrowName(std::wstring_view name);

} // namespace zq
