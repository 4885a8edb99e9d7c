// UTF-16 as the module has it, UTF-8 as this program reads and prints it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace zq::tool {

// A lone surrogate becomes U+FFFD.
std::string Utf8FromWide(std::wstring_view text);
// A byte sequence that is not UTF-8 becomes U+FFFD.
std::wstring WideFromUtf8(std::string_view text);
std::string Utf8FromPath(const std::filesystem::path& path);

// For one line of a console: control characters are written as \n, \t or \u001B, so that a file's content can
// neither break a table nor steer the terminal. A backslash is doubled.
std::string Printable(std::wstring_view text);

// Control characters written so, everything else as it is: for messages and paths.
std::string Visible(std::wstring_view text);

// What the system says of one of its errors, without a full stop, and its number.
std::string SystemErrorText(unsigned long error);

// "1 error", "2 errors".
std::string Counted(size_t count, const std::string& what);
// "1 entry", "2 entries".
std::string Counted(size_t count, const std::string& one, const std::string& many);

} // namespace zq::tool
