// Conversion between bytes and wide text by code page. Two implementations: the system's on Windows, and one
// for native test builds that knows UTF-8 and takes the ANSI code page for ISO 8859-1.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zq {

inline constexpr uint32_t kCodePageAnsi = 0;
inline constexpr uint32_t kCodePageUtf8 = 65001;

// Converts `length` bytes, or with a length of -1 those up to a zero byte, which is converted too. Text that
// cannot be converted at all is empty. Raises std::bad_alloc.
std::wstring DecodeFileText(uint32_t codePage, const char* bytes, int32_t length);

// The same by the system's conversion of the whole, which DecodeFileText gives the result of.
std::wstring WideFromBytes(uint32_t codePage, const char* bytes, int32_t length);

// The characters of the ANSI code page by byte, where each byte is one character and ASCII is ASCII; null
// where the page has characters of several bytes. Asked from the system once.
const wchar_t* AnsiCharacters();

// The first 128 characters are ASCII; the others are not to be used.
const wchar_t* AsciiCharacters();

bool IsAscii(std::string_view bytes);

// The most bytes that a character of a code page has.
uint32_t BytesPerCharacter(uint32_t codePage);

// Converts wide text; what the code page cannot express becomes its replacement character.
std::string BytesFromWide(uint32_t codePage, std::wstring_view text);

} // namespace zq
