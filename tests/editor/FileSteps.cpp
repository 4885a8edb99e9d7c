#include "FileSteps.h"

#include <cstdio>
#include <cstdlib>

namespace zq::test {

namespace {

template <class Try>
void Until(const char* what, Try attempt) {
    for (int i = 0; !attempt(); ++i) {
        if (i == 500) {
            std::fprintf(stderr, "file_editor: cannot %s: Windows error %lu\n", what, GetLastError());
            std::exit(1);
        }
        Sleep(1);
    }
}

HANDLE OpenFor(const std::wstring& path, DWORD access, DWORD disposition, DWORD share) {
    HANDLE file = INVALID_HANDLE_VALUE;
    Until("open the file", [&] {
        file = CreateFileW(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
        return file != INVALID_HANDLE_VALUE;
    });
    return file;
}

} // namespace

std::string Content(int edit, size_t padding) {
    return "{\"Edit\":" + std::to_string(edit) + ",\"Saved\":0,\"Padding\":\"" + std::string(padding, 'x') +
           "\"}";
}

HANDLE Open(const std::wstring& path, DWORD disposition, DWORD share) {
    return OpenFor(path, GENERIC_READ | GENERIC_WRITE, disposition, share);
}

void Put(HANDLE file, std::string_view bytes) {
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void Write(const std::wstring& path, std::string_view bytes) {
    const HANDLE file = Open(path, CREATE_ALWAYS);
    Put(file, bytes);
    CloseHandle(file);
}

void Append(const std::wstring& path, std::string_view bytes) {
    const HANDLE file = OpenFor(path, FILE_APPEND_DATA, OPEN_EXISTING, FILE_SHARE_READ);
    Put(file, bytes);
    CloseHandle(file);
}

void Delete(const std::wstring& path) {
    Until("delete the file", [&] { return DeleteFileW(path.c_str()) != 0; });
    // While others have it open, Windows frees the name at once or refuses to open it. Wine lets it be opened
    // and written again, and then deletes it.
    Until("see the file gone", [&] { return GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES; });
}

void Move(const std::wstring& from, const std::wstring& to) {
    Until("replace the file",
          [&] { return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != 0; });
}

void MoveNew(const std::wstring& from, const std::wstring& to) {
    Until("rename the file", [&] { return MoveFileExW(from.c_str(), to.c_str(), 0) != 0; });
}

std::string Read(const std::wstring& path) {
    const HANDLE file =
        OpenFor(path, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    std::string bytes(GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
    CloseHandle(file);
    bytes.resize(read);
    return bytes;
}

} // namespace zq::test
