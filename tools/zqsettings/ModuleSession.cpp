#include "ModuleSession.h"

#include "Failure.h"
#include "Text.h"

#include <cwchar>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

// The module takes the folder that holds the data folder.
fs::path CommonDataFolderOf(const fs::path& dataFolder) {
    if (_wcsicmp(dataFolder.filename().c_str(), kDataFolderName) != 0) {
        throw Failure("the module works in folders named ZQserver only, not in " + Utf8FromPath(dataFolder));
    }
    return dataFolder.parent_path();
}

std::string Sentence(const fs::filesystem_error& error) {
    std::string text = "the module cannot start: ";
    if (!error.path1().empty()) {
        text += Utf8FromPath(error.path1());
        text += error.path2().empty() ? ": " : " cannot be copied to " + Utf8FromPath(error.path2()) + ": ";
    }
    return text + error.code().message();
}

} // namespace

void AddModuleOptions(Command command, ModuleOptions& options, const std::string& otherwise) {
    AddDataOption(command, options.data, otherwise);
    command
        .Add("--defaults", options.defaults, "DIR",
             "Folder with the three default files.\n"
             "Default: \"defaults\" beside this program")
        .NotEmpty();
    command.Add("--dll", options.dll, "FILE", "The module.\nDefault: ZQModSettings.dll beside this program")
        .NotEmpty();
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
        m_commonData = CommonDataFolderOf(DataFolderOf(options.data));
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
        throw Failure(std::string("the module cannot start: ") + error.what());
    }
}

} // namespace zq::tool
