#include "KeptFiles.h"

#include "FileBytes.h"

#include "check/FileCheck.h"

#include <algorithm>
#include <cwctype>
#include <optional>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

constexpr const wchar_t* kFolders[] = {L"kept", L"rejected"};
constexpr std::wstring_view kTimeForm = L"00000000T000000.000Z"; // 0 for any digit

bool IsTime(std::wstring_view text) {
    return text.size() == kTimeForm.size() &&
           std::equal(text.begin(), text.end(), kTimeForm.begin(), [](wchar_t unit, wchar_t form) {
               return form == L'0' ? unit >= L'0' && unit <= L'9' : unit == form;
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

bool IsRealFolder(const fs::path& folder) {
    std::error_code ignored;
    return fs::symlink_status(folder, ignored).type() == fs::file_type::directory;
}

} // namespace

std::vector<KeptFile> KeptFilesOf(const fs::path& folder) {
    std::vector<KeptFile> files;
    for (const wchar_t* const subfolder : kFolders) {
        if (!IsRealFolder(folder / subfolder)) {
            continue;
        }
        for (const auto& entry : fs::directory_iterator(folder / subfolder)) {
            const std::wstring name = entry.path().filename().wstring();
            const std::optional<ConfigFile> file = FileOf(name);
            if (file && entry.is_regular_file()) {
                std::string bytes = ReadBytes(entry.path());
                const bool isAccepted = WouldLoad(*file, bytes);
                files.push_back({name, subfolder, *file, std::move(bytes), isAccepted});
            }
        }
    }
    std::sort(files.begin(), files.end(), [](const KeptFile& left, const KeptFile& right) {
        return TimeOf(left.name) > TimeOf(right.name);
    });
    return files;
}

bool IsNamed(const KeptFile& file, std::wstring_view name) {
    return file.name == name || NameOfConfigFile(file.file) == name;
}

} // namespace zq::tool
