#include "FileArguments.h"

#include "DataFolder.h"
#include "Failure.h"
#include "Text.h"

#include "config/ConfigFile.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <iterator>
#include <system_error>

#include <windows.h>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

constexpr const char* kStandardInput = "-";
const std::array<std::string, kConfigFiles.size()> kRoles = {"settings", "hmd-list", "quality"};

ConfigFile FileOfRole(const std::string& role) {
    for (size_t i = 0; i < kRoles.size(); ++i) {
        if (role == kRoles[i]) {
            return kConfigFiles[i];
        }
    }
    throw Failure("\"" + role + "\" is no role of a file", ExitCode::Usage);
}

void AddFolder(const fs::path& given, const std::string& shown, FileArguments& found) {
    const fs::path inside = given / kDataFolderName;
    const fs::path folder = fs::is_directory(inside) ? inside : given;
    FileArguments inFolder;
    for (const ConfigFile file : kConfigFiles) {
        const fs::path path = (folder / NameOfConfigFile(file)).make_preferred();
        const std::string name = Utf8FromPath(path);
        if (fs::exists(path)) {
            inFolder.files.push_back({path, name, file});
        } else {
            inFolder.failures.push_back(
                {name,
                 "the file " + name + " does not exist; a server puts a copy of its default file there"});
        }
    }
    if (inFolder.files.empty()) {
        found.failures.push_back(
            {shown, "the folder " + shown + " holds none of the three configuration files"});
        return;
    }
    std::move(inFolder.files.begin(), inFolder.files.end(), std::back_inserter(found.files));
    std::move(inFolder.failures.begin(), inFolder.failures.end(), std::back_inserter(found.failures));
}

bool HasWildcard(const fs::path& path) {
    return path.filename().native().find_first_of(L"*?") != std::wstring::npos;
}

std::vector<fs::path> Expanded(const fs::path& pattern) {
    std::vector<fs::path> paths;
    WIN32_FIND_DATAW data{};
    const HANDLE search = FindFirstFileW(pattern.c_str(), &data);
    if (search == INVALID_HANDLE_VALUE) {
        return paths;
    }
    do {
        if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            paths.push_back(pattern.parent_path() / data.cFileName);
        }
    } while (FindNextFileW(search, &data));
    FindClose(search);
    std::sort(paths.begin(), paths.end());
    return paths;
}

void AddFile(const fs::path& path, const std::string& shown, const std::string& as, FileArguments& found) {
    const std::optional<ConfigFile> file = as.empty() ? FileOfName(path) : FileOfRole(as);
    if (file) {
        found.files.push_back({path, shown, *file});
    } else {
        found.failures.push_back(
            {shown, "the name of " + shown +
                        " is none that the module reads; say which file it is with --as settings, "
                        "--as hmd-list or --as quality"});
    }
}

void AddStandardInput(const std::string& as, FileArguments& found) {
    if (as.empty()) {
        throw Failure("standard input has no name; say which file it is with --as settings, --as hmd-list or "
                      "--as quality",
                      ExitCode::Usage);
    }
    found.files.push_back({kStandardInput, "standard input", FileOfRole(as)});
}

void AddArgument(const std::string& argument, const std::string& as, FileArguments& found) {
    const fs::path path = WideFromUtf8(argument);
    if (HasWildcard(path)) {
        const std::vector<fs::path> expanded = Expanded(path);
        for (const fs::path& one : expanded) {
            AddFile(one, Utf8FromPath(fs::path(one).make_preferred()), as, found);
        }
        if (expanded.empty()) {
            found.failures.push_back({argument, "no file matches " + argument});
        }
    } else if (argument == kStandardInput) {
        AddStandardInput(as, found);
    } else if (!fs::exists(path)) {
        found.failures.push_back({argument, "the file " + argument + " does not exist"});
    } else if (fs::is_directory(path)) {
        AddFolder(path, argument, found);
    } else {
        AddFile(path, argument, as, found);
    }
}

} // namespace

std::vector<std::string> FileRoles() { return {kRoles.begin(), kRoles.end()}; }

std::optional<ConfigFile> FileOfName(const fs::path& path) {
    const std::wstring name = path.filename().native();
    for (const ConfigFile file : kConfigFiles) {
        const std::wstring stem = fs::path(NameOfConfigFile(file)).stem().native();
        const bool hasStem = _wcsnicmp(name.c_str(), stem.c_str(), stem.size()) == 0;
        if (hasStem && (name.size() == stem.size() || name[stem.size()] == L'.')) {
            return file;
        }
    }
    return {};
}

FileArguments LookUpFiles(const std::vector<std::string>& arguments, const std::string& as) {
    FileArguments found;
    for (const std::string& argument : arguments) {
        AddArgument(argument, as, found);
    }
    return found;
}

std::string BytesOf(const FileArgument& argument) {
    return argument.path == WideFromUtf8(kStandardInput) ? ReadStandardInput() : ReadBytes(argument.path);
}

} // namespace zq::tool
