#include "module/files/RejectedFolder.h"

#include "platform/Files.h"

#include <algorithm>
#include <cwchar>
#include <filesystem>
#include <functional>
#include <string_view>
#include <system_error>
#include <vector>

#include <windows.h>

namespace zq {

namespace {

namespace fs = std::filesystem;

constexpr size_t kKept = 10;
constexpr int kNameTries = 1000;

// Sorts as the times do: 20260102T030405.678Z.
std::wstring TimeName(const SYSTEMTIME& time) {
    wchar_t text[32];
    std::swprintf(text, std::size(text), L"%04u%02u%02uT%02u%02u%02u.%03uZ", unsigned{time.wYear},
                  unsigned{time.wMonth}, unsigned{time.wDay}, unsigned{time.wHour}, unsigned{time.wMinute},
                  unsigned{time.wSecond}, unsigned{time.wMilliseconds});
    return text;
}

// Two files refused within one millisecond: the later one waits for a name of its own.
bool MoveTo(const fs::path& file, const fs::path& folder) {
    for (int i = 0; i < kNameTries; ++i) {
        SYSTEMTIME now{};
        GetSystemTime(&now);
        const fs::path target = folder / (file.filename().wstring() + L"." + TimeName(now));
        if (MoveFileExW(file.c_str(), target.c_str(), 0)) {
            return true;
        }
        if (GetLastError() != ERROR_ALREADY_EXISTS && GetLastError() != ERROR_FILE_EXISTS) {
            return false;
        }
        Sleep(1);
    }
    return false;
}

void KeepNewest(const fs::path& folder, const std::wstring& prefix) {
    std::error_code error;
    std::vector<std::wstring> names;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::wstring name = entry->path().filename().wstring();
        if (name.starts_with(prefix)) {
            names.push_back(std::move(name));
        }
    }
    std::sort(names.begin(), names.end(), std::greater<>());
    for (size_t i = kKept; i < names.size(); ++i) {
        fs::remove(folder / names[i], error);
    }
}

} // namespace

void RemoveRejectedFile(const std::wstring& path) {
    const fs::path file(path);
    const fs::path folder = file.parent_path() / L"rejected";
    std::error_code error;
    if (fs::is_directory(folder, error) && MoveTo(file, folder)) {
        KeepNewest(folder, file.filename().wstring() + L".");
        return;
    }
    RemoveFile(path);
}

} // namespace zq
