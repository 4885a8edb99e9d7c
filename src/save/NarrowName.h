// A variable's name as the save path compares it with the names in a file.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zq {

// The name in the thread's ANSI code page; nothing where the code page cannot express it, so that a
// replacement character never matches a member. Raises std::system_error when the system refuses the
// conversion.
std::optional<std::string> NarrowName(std::wstring_view name);

} // namespace zq
