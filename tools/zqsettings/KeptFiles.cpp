#include "KeptFiles.h"

#include "FileBytes.h"

#include "base/AsciiCase.h"
#include "check/FileCheck.h"
#include "platform/Handle.h"

#include <algorithm>
#include <cwctype>
#include <optional>
#include <system_error>

#include <windows.h>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

constexpr const wchar_t* kFolders[] = {L"kept", L"rejected"};
constexpr std::wstring_view kTimeForm = L"00000000T000000.000Z"; // 0 for any digit

bool IsTime(std::wstring_view text) {
    return text.size() == kTimeForm.size() &&
           std::equal(text.begin(), text.end(), kTimeForm.begin(), [](wchar_t unit, wchar_t form) {
               return form == L'0' ? IsAsciiDigit(unit) : unit == form;
           });
}

std::wstring_view TimeOf(std::wstring_view name) {
    return name.substr(name.size() - std::min(name.size(), kTimeForm.size()));
}

std::optional<ConfigFile> FileOf(std::wstring_view name) {
    for (const ConfigFile file : kConfigFiles) {
        const std::wstring beginning = NameOfConfigFile(file) + std::wstring(L".");
        if (name.starts_with(beginning) && IsTime(name.substr(beginning.size()))) {
            return file;
        }
    }
    return std::nullopt;
}

std::wstring FinalPath(const fs::path& folder) {
    const UniqueHandle handle = AdoptFileHandle(CreateFileW(
        folder.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    std::wstring path(32768, L'\0');
    path.resize(handle
                    ? GetFinalPathNameByHandleW(handle.get(), path.data(), static_cast<DWORD>(path.size()), 0)
                    : 0);
    return path;
}

// Not a link, which leads elsewhere.
bool IsOwnSubFolder(const fs::path& folder, const wchar_t* name) {
    const std::wstring parent = FinalPath(folder);
    return !parent.empty() && FinalPath(folder / name) == parent + L'\\' + name;
}

bool IsPlainFile(const fs::path& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) == 0;
}

} // namespace

std::vector<KeptName> KeptNamesOf(const fs::path& folder) {
    std::vector<KeptName> names;
    for (const wchar_t* const subfolder : kFolders) {
        if (!IsOwnSubFolder(folder, subfolder)) {
            continue;
        }
        std::error_code error;
        for (fs::directory_iterator entry(folder / subfolder, error), end; !error && entry != end;
             entry.increment(error)) {
            const std::wstring name = entry->path().filename().wstring();
            const std::optional<ConfigFile> file = FileOf(name);
            if (file && IsPlainFile(entry->path())) {
                names.push_back({name, subfolder, *file});
            }
        }
    }
    std::sort(names.begin(), names.end(), [](const KeptName& left, const KeptName& right) {
        return TimeOf(left.name) > TimeOf(right.name);
    });
    return names;
}

std::vector<KeptFile> KeptFilesOf(const fs::path& folder) {
    std::vector<KeptFile> files;
    for (KeptName& kept : KeptNamesOf(folder)) {
        std::string bytes = ReadBytes(folder / kept.folder / kept.name);
        const bool isAccepted = WouldLoad(kept.file, bytes);
        files.push_back({std::move(kept), std::move(bytes), isAccepted});
    }
    return files;
}

bool IsNamed(const KeptFile& file, std::wstring_view name) {
    return file.name == name || NameOfConfigFile(file.file) == name;
}

} // namespace zq::tool
