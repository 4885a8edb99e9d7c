#include "ModuleSession.h"

#include "Failure.h"
#include "Text.h"

#include <CLI/CLI.hpp>

#include <cwchar>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

constexpr const wchar_t* kDataFolderName = L"ZQserver";

fs::path ExistingFolder(const fs::path& path, const char* what) {
    fs::path folder = fs::absolute(path).make_preferred();
    if (!fs::is_directory(folder)) {
        throw Failure(std::string("the ") + what + " folder " + Utf8FromPath(folder) + " does not exist");
    }
    return folder;
}

// The common application-data folder that holds the data folder; either of the two may be given.
fs::path CommonDataFolder(const fs::path& given) {
    fs::path folder = ExistingFolder(given, "data");
    const fs::path name = folder.has_filename() ? folder.filename() : folder.parent_path().filename();
    if (_wcsicmp(name.c_str(), kDataFolderName) != 0) {
        return folder;
    }
    return (folder.has_filename() ? folder : folder.parent_path()).parent_path();
}

std::string Sentence(const fs::filesystem_error& error) {
    std::string text = "DoInit failed: " + error.code().message();
    if (!error.path1().empty()) {
        text += " (" + Utf8FromPath(error.path1());
        text += error.path2().empty() ? ")" : " to " + Utf8FromPath(error.path2()) + ")";
    }
    return text;
}

} // namespace

fs::path DataFolderOf(const std::string& data) {
    return ExistingFolder(CommonDataFolder(WideFromUtf8(data)) / kDataFolderName, "data");
}

fs::path DefaultsFolderOf(const std::string& defaults) {
    return ExistingFolder(defaults.empty() ? ProgramPath().replace_filename(L"defaults")
                                           : fs::path(WideFromUtf8(defaults)),
                          "defaults");
}

void AddModuleOptions(CLI::App& command, ModuleOptions& options) {
    command
        .add_option("--data", options.data,
                    "Folder that holds \"ZQserver\" with the three private files,\n"
                    "or \"ZQserver\" itself. Default: a scratch folder, filled\n"
                    "from the default files and removed afterwards")
        ->type_name("DIR");
    command
        .add_option("--defaults", options.defaults,
                    "Folder with the three default files.\n"
                    "Default: \"defaults\" beside this program")
        ->type_name("DIR");
    command.add_option("--dll", options.dll, "The module.\nDefault: ZQModSettings.dll beside this program")
        ->type_name("FILE");
}

void ModuleSession::Ending::operator()(CZQModSettings* module) const {
    module->DoStop();
    module->DoRelease();
    ZQDestroy(module);
}

ModuleSession::ModuleSession(const ModuleOptions& options, CZQModHost& host)
    : m_library(WideFromUtf8(options.dll)) {
    m_defaults = DefaultsFolderOf(options.defaults);
    if (options.data.empty()) {
        m_commonData = m_scratch.emplace().Path();
        fs::create_directory(m_commonData / kDataFolderName);
    } else {
        m_commonData = CommonDataFolder(WideFromUtf8(options.data));
    }
    Init(host);
}

std::string ModuleSession::DataFolderText() const { return Utf8FromPath(DataFolder()); }

void ModuleSession::Init(CZQModHost& host) {
    m_module.reset(m_library.Create());
    try {
        m_module->DoInit(&host, ProgramPath().c_str(), m_defaults.c_str(), m_commonData.c_str());
    } catch (const fs::filesystem_error& error) {
        throw Failure(Sentence(error));
    } catch (const std::exception& error) {
        throw Failure(std::string("DoInit failed: ") + error.what());
    }
}

} // namespace zq::tool
