#include "DataFolder.h"

#include "Console.h"
#include "Failure.h"
#include "ModuleLibrary.h"
#include "Text.h"

#include "config/ConfigFile.h"

#include <algorithm>
#include <cwchar>
#include <memory>

#include <windows.h>

#include <shlobj.h>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

bool IsFolder(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

bool IsNamedAsDataFolder(const fs::path& folder) {
    const fs::path name = folder.has_filename() ? folder.filename() : folder.parent_path().filename();
    return _wcsicmp(name.c_str(), kDataFolderName) == 0;
}

bool HoldsConfigFile(const fs::path& folder) {
    return std::any_of(kConfigFiles.begin(), kConfigFiles.end(), [&](ConfigFile file) {
        return fs::exists(fs::symlink_status(folder / NameOfConfigFile(file)));
    });
}

fs::path ExistingFolder(const fs::path& path, const char* what) {
    fs::path folder = fs::absolute(path).make_preferred();
    std::error_code ignored;
    if (fs::is_regular_file(folder, ignored)) {
        throw Failure(Utf8FromPath(folder) + " is a file, where a folder is expected");
    }
    if (!IsFolder(folder)) {
        throw Failure(std::string("the ") + what + " folder " + Utf8FromPath(folder) + " does not exist");
    }
    return folder;
}

struct FreeTaskMemory {
    void operator()(wchar_t* text) const { CoTaskMemFree(text); }
};

std::optional<fs::path> CommonDataFolder() {
    wchar_t* text = nullptr;
    const HRESULT result = SHGetKnownFolderPath(FOLDERID_ProgramData, 0, nullptr, &text);
    const std::unique_ptr<wchar_t, FreeTaskMemory> owned(text);
    return SUCCEEDED(result) ? std::optional<fs::path>(text) : std::nullopt;
}

} // namespace

void AddDataOption(Command command, std::string& data, const std::string& otherwise) {
    const std::string help = "Folder that holds \"ZQserver\", \"ZQserver\" itself, or a folder\n"
                             "with the files in it. Default: what ZQ_DATA_DIR names, then the\n"
                             "machine's own" +
                             otherwise;
    command.Add("--data", data, "DIR", help.c_str()).NotEmpty();
}

fs::path DataFolderOf(const std::string& data) {
    fs::path given = ExistingFolder(WideFromUtf8(data), "data");
    if (IsFolder(given / kDataFolderName)) {
        return given / kDataFolderName;
    }
    if (IsNamedAsDataFolder(given) || HoldsConfigFile(given)) {
        return given;
    }
    throw Failure("the folder " + Utf8FromPath(given) +
                  " holds neither \"ZQserver\" nor one of the three configuration files");
}

std::optional<fs::path> FindDataFolder(const std::string& data) {
    if (!data.empty()) {
        return DataFolderOf(data);
    }
    if (const wchar_t* const named = _wgetenv(WideFromUtf8(kDataFolderVariable).c_str()); named && *named) {
        fs::path folder = DataFolderOf(Utf8FromWide(named));
        PrintNote("using " + Utf8FromPath(folder) + ", which " + kDataFolderVariable + " names");
        return folder;
    }
    const std::optional<fs::path> common = CommonDataFolder();
    if (common && IsFolder(*common / kDataFolderName)) {
        fs::path folder = *common / kDataFolderName;
        PrintNote("using " + Utf8FromPath(folder) + ", this machine's data folder");
        return folder;
    }
    return std::nullopt;
}

fs::path RequireDataFolder(const std::string& data) {
    std::optional<fs::path> folder = FindDataFolder(data);
    if (!folder) {
        throw Failure("this machine has no data folder; name one with --data");
    }
    return *std::move(folder);
}

fs::path DefaultsFolderOf(const std::string& defaults) {
    return ExistingFolder(defaults.empty() ? ProgramPath().replace_filename(L"defaults")
                                           : fs::path(WideFromUtf8(defaults)),
                          "defaults");
}

} // namespace zq::tool
