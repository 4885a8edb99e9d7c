// The single steps of an editor. Each tries again while somebody holds the file for a moment, and ends the
// process with 1 when that takes longer.
#pragma once

#include <string>
#include <string_view>

#include <windows.h>

namespace zq::test {

// The n-th edit of a file: {"Edit":n,"Saved":0,...}, long enough that half of it is not the whole.
std::string Content(int edit, size_t padding = 4000);

HANDLE Open(const std::wstring& path, DWORD disposition, DWORD share = FILE_SHARE_READ);
void Put(HANDLE file, std::string_view bytes);
// Truncates the file and writes it in one go.
void Write(const std::wstring& path, std::string_view bytes);
void Append(const std::wstring& path, std::string_view bytes);
void Delete(const std::wstring& path);
void Move(const std::wstring& from, const std::wstring& to);    // replaces
void MoveNew(const std::wstring& from, const std::wstring& to); // fails where `to` exists
std::string Read(const std::wstring& path);

} // namespace zq::test
