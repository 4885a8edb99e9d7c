#include "FolderLook.h"

#include "FileArguments.h"
#include "ScratchFolder.h"
#include "SilentHost.h"
#include "Text.h"

#include "check/FileCheck.h"
#include "check/NearestName.h"
#include "config/ConfigFile.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <filesystem>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

// Copies the files that are there and tells what becomes of the others.
void CopyFiles(const fs::path& from, const fs::path& to) {
    for (const ConfigFile file : {ConfigFile::Settings, ConfigFile::HmdList, ConfigFile::Quality}) {
        const fs::path path = from / NameOfConfigFile(file);
        const std::string shown = Utf8FromPath(path);
        if (!fs::exists(path)) {
            std::fprintf(stderr, "zqsettings: note: %s does not exist; the default file stands in for it.\n",
                         shown.c_str());
            continue;
        }
        fs::copy_file(path, to / NameOfConfigFile(file));
        if (!WouldLoad(file, ReadBytes(path))) {
            std::fprintf(stderr,
                         "zqsettings: note: the module refuses %s, and the default file stands in for it; "
                         "\"zqsettings check\" tells why.\n",
                         shown.c_str());
        }
    }
}

} // namespace

void AddLookOptions(CLI::App& command, ModuleOptions& options) {
    AddModuleOptions(command, options);
    command.get_option("--data")->description("Folder that holds \"ZQserver\" with the three private files,\n"
                                              "or \"ZQserver\" itself; it is left as it is.\n"
                                              "Default: the default files alone");
}

std::vector<Variable> LookAt(const ModuleOptions& options) {
    ModuleOptions copied = options;
    std::optional<ScratchFolder> scratch;
    if (!options.data.empty()) {
        const fs::path folder = scratch.emplace().Path() / L"ZQserver";
        fs::create_directory(folder);
        CopyFiles(DataFolderOf(options.data), folder);
        copied.data = Utf8FromPath(folder);
    }
    SilentHost host;
    const ModuleSession session(copied, host);
    return ListVariables(session.Variables());
}

std::vector<std::wstring> NearestVariables(const std::vector<Variable>& variables, const std::string& name,
                                           size_t count) {
    std::vector<std::wstring> names;
    names.reserve(variables.size());
    for (const Variable& variable : variables) {
        names.push_back(variable.name);
    }
    return NearestNames(WideFromUtf8(name), names, count);
}

} // namespace zq::tool
