// The program's output: UTF-8 to files and pipes, UTF-16 to a console, so that the console's code page is
// never touched.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace zq::tool {

// Whether the stream ends at a person: a console, not a file or a pipe.
bool IsConsole(std::FILE* stream);

// Writes the whole text at once and flushes. Any thread; texts of two threads are not mixed.
void PrintText(std::FILE* stream, std::string_view text);

// To stdout.
void Print(std::string_view text);

// The system's error of the first text that could not be written to stdout since the last call, or 0. A
// reader that has gone, or a program without stdout, is no error.
unsigned long TakeOutputError();

// Whether a text could not be written to stdout since that call, a reader that has gone included.
bool HasOutputFailed();

// "zqsettings: note: TEXT." on stderr; control characters are shown as escapes.
void PrintNote(const std::string& text);

// "zqsettings: TEXT." on stderr, likewise.
void PrintFailure(const std::string& text);

// `choice` is auto, always or never; auto is a console that can show colours, unless NO_COLOR is set. The
// console's mode is put back when the program ends.
bool WantsColour(const std::string& choice, std::FILE* stream);

namespace colour {
inline constexpr const char* kDim = "\x1B[2m";
inline constexpr const char* kBold = "\x1B[1m";
inline constexpr const char* kPlain = "\x1B[0m";
} // namespace colour

} // namespace zq::tool
