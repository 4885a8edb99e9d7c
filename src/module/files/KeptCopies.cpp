#include "module/files/KeptCopies.h"

#include "base/AsciiCase.h"
#include "platform/Files.h"

#include <algorithm>
#include <cwchar>
#include <filesystem>
#include <functional>
#include <system_error>

#include <windows.h>

namespace zq {

namespace {

namespace fs = std::filesystem;

constexpr size_t kCopies = 10;
constexpr int kNameTries = 1000;

// Sorts in the order of the times: 20260102T030405.678Z.
std::wstring TimeName() {
    SYSTEMTIME now{};
    GetSystemTime(&now);
    wchar_t text[32];
    std::swprintf(text, std::size(text), L"%04u%02u%02uT%02u%02u%02u.%03uZ", unsigned{now.wYear},
                  unsigned{now.wMonth}, unsigned{now.wDay}, unsigned{now.wHour}, unsigned{now.wMinute},
                  unsigned{now.wSecond}, unsigned{now.wMilliseconds});
    return text;
}

bool IsTimeName(std::wstring_view text) {
    constexpr std::wstring_view kPattern = L"00000000T000000.000Z";
    return text.size() == kPattern.size() &&
           std::equal(text.begin(), text.end(), kPattern.begin(), [](wchar_t unit, wchar_t pattern) {
               return pattern == L'0' ? IsAsciiDigit(unit) : unit == pattern;
           });
}

// The folder of copies beside a private file while it is in use; false if there is none to use.
struct CopiesFolder {
    CopiesFolder(const fs::path& file, const wchar_t* name)
        : path(file.parent_path() / name), pinned(path.wstring()) {}
    explicit operator bool() const { return static_cast<bool>(pinned); }

    fs::path path;
    PinnedFolder pinned;
};

// Returns the names of a file's copies, newest first.
std::vector<std::wstring> CopyNames(const fs::path& folder, const std::wstring& fileName) {
    std::vector<std::wstring> names;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::wstring name = entry->path().filename().wstring();
        std::error_code ignored;
        if (IsCopyName(name, fileName) && entry->is_regular_file(ignored) &&
            !IsLinkElsewhere(entry->path().wstring())) {
            names.push_back(std::move(name));
        }
    }
    std::sort(names.begin(), names.end(), std::greater<>());
    return names;
}

void KeepNewest(const fs::path& folder, const std::wstring& fileName) {
    const std::vector<std::wstring> names = CopyNames(folder, fileName);
    for (size_t i = kCopies; i < names.size(); ++i) {
        DeletePath((folder / names[i]).wstring());
    }
}

// Runs create(path) with a name of the current time until the name is free, since two copies may be made
// within one millisecond. Returns the path, or nothing on any other error.
template <class Create>
std::wstring UnderNewName(const fs::path& folder, const std::wstring& fileName, Create create) {
    for (int i = 0; i < kNameTries; ++i) {
        std::wstring path = (folder / (fileName + L"." + TimeName())).wstring();
        const uint32_t error = create(path);
        if (error == 0) {
            return path;
        }
        if (error != ERROR_ALREADY_EXISTS && error != ERROR_FILE_EXISTS) {
            break;
        }
        Sleep(1);
    }
    return {};
}

} // namespace

bool IsCopyName(std::wstring_view name, std::wstring_view fileName) {
    return name.size() > fileName.size() && name.starts_with(fileName) && name[fileName.size()] == L'.' &&
           IsTimeName(name.substr(fileName.size() + 1));
}

std::wstring MoveToRejected(const std::wstring& path) {
    const fs::path file(path);
    const CopiesFolder folder(file, L"rejected");
    if (!folder) {
        return {};
    }
    const std::wstring name = file.filename().wstring();
    std::wstring moved = UnderNewName(folder.path, name, [&](const std::wstring& target) {
        return RenameFile(path, target, Replacing::No);
    });
    KeepNewest(folder.path, name);
    return moved;
}

void KeepLoaded(const std::wstring& path, const std::vector<char>& bytes) {
    const fs::path file(path);
    const CopiesFolder folder(file, L"kept");
    if (!folder) {
        return;
    }
    const std::wstring name = file.filename().wstring();
    const std::vector<std::wstring> copies = CopyNames(folder.path, name);
    if (!copies.empty() && ReadSnapshot((folder.path / copies.front()).wstring()).bytes == bytes) {
        return;
    }
    UnderNewName(folder.path, name, [&](const std::wstring& target) { return WriteNewFile(target, bytes); });
    KeepNewest(folder.path, name);
}

} // namespace zq
