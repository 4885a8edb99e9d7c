// Conversion between bytes and wide text by code page. Two implementations: the system's on Windows, and one
// for native test builds that knows UTF-8 and takes the ANSI code page for ISO 8859-1.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zq {

inline constexpr uint32_t kCodePageAnsi = 0;
inline constexpr uint32_t kCodePageUtf8 = 65001;

// Converts `length` bytes or, if `length` is -1, the bytes up to and including a zero byte. Returns an empty
// text if nothing can be converted. Raises std::bad_alloc.
std::wstring DecodeFileText(uint32_t codePage, const char* bytes, int32_t length);

// The same, converted by the system as a whole; DecodeFileText gives the same result.
std::wstring WideFromBytes(uint32_t codePage, const char* bytes, int32_t length);

// The characters of the ANSI code page by byte, if each byte is one character and ASCII is ASCII; null if the
// page has characters of several bytes. The system is queried once.
const wchar_t* AnsiCharacters();

// The first 128 characters are ASCII; the others must not be used.
const wchar_t* AsciiCharacters();

bool IsAscii(std::string_view bytes);

// Whether the bytes are well-formed UTF-8: no over-long forms, no surrogates, nothing beyond U+10FFFF.
bool IsUtf8(std::string_view bytes);

// The largest number of bytes that a character of a code page can have.
uint32_t BytesPerCharacter(uint32_t codePage);

// Converts wide text; a character that the code page lacks becomes its replacement character.
std::string BytesFromWide(uint32_t codePage, std::wstring_view text);

} // namespace zq
