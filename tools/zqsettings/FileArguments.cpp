#include "FileArguments.h"

#include "Failure.h"
#include "Text.h"

#include "config/ConfigFile.h"

#include <array>
#include <cwchar>
#include <fstream>
#include <iterator>
#include <system_error>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

constexpr std::array<ConfigFile, 3> kFiles = {ConfigFile::Settings, ConfigFile::HmdList, ConfigFile::Quality};
constexpr std::array<const char*, 3> kRoles = {"settings", "hmd-list", "quality"};

ConfigFile FileOfRole(const std::string& role) {
    for (size_t i = 0; i < kRoles.size(); ++i) {
        if (role == kRoles[i]) {
            return kFiles[i];
        }
    }
    throw Failure("--as takes settings, hmd-list or quality, not " + role);
}

void AddFolder(const fs::path& folder, const std::string& shown, std::vector<FileArgument>& files) {
    const size_t before = files.size();
    for (const ConfigFile file : kFiles) {
        const fs::path path = (folder / NameOfConfigFile(file)).make_preferred();
        if (fs::exists(path)) {
            files.push_back({path, Utf8FromPath(path), file});
        }
    }
    if (files.size() == before) {
        throw Failure("the folder " + shown + " holds none of the three configuration files");
    }
}

} // namespace

std::optional<ConfigFile> FileOfName(const fs::path& path) {
    const std::wstring name = path.filename().native();
    for (const ConfigFile file : kFiles) {
        const std::wstring stem = fs::path(NameOfConfigFile(file)).stem().native();
        const bool hasStem = _wcsnicmp(name.c_str(), stem.c_str(), stem.size()) == 0;
        if (hasStem && (name.size() == stem.size() || name[stem.size()] == L'.')) {
            return file;
        }
    }
    return {};
}

std::vector<FileArgument> FilesOf(const std::vector<std::string>& arguments, const std::string& as) {
    std::vector<FileArgument> files;
    for (const std::string& argument : arguments) {
        const fs::path path = WideFromUtf8(argument);
        if (!fs::exists(path)) {
            throw Failure("the file " + argument + " does not exist");
        }
        if (fs::is_directory(path)) {
            AddFolder(path, argument, files);
            continue;
        }
        const std::optional<ConfigFile> file = as.empty() ? FileOfName(path) : FileOfRole(as);
        if (!file) {
            throw Failure("the name of " + argument +
                          " is none that the module reads; say what it stands for with "
                          "--as settings, --as hmd-list or --as quality");
        }
        files.push_back({path, argument, *file});
    }
    return files;
}

std::string ReadBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!in.is_open() || in.bad()) {
        throw Failure("the file " + Utf8FromPath(path) + " cannot be read");
    }
    return bytes;
}

} // namespace zq::tool
