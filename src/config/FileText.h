// The decoding of a configuration file's bytes: UTF-8 behind a byte order mark, else the system's ANSI code
// page.
//
// Portable.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zq {

// Converts `length` bytes, or with a length of -1 those up to a zero byte, from a code page
// (platform/Text.h). What cannot be converted at all is empty.
std::wstring DecodeFileText(uint32_t codePage, const char* bytes, int32_t length);

// The text of a whole file; its byte order mark, where it has one, is not part of it.
std::wstring DecodeFile(std::string_view bytes);

} // namespace zq
