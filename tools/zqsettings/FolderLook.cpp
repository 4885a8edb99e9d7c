#include "FolderLook.h"

#include "Console.h"
#include "FolderMirror.h"
#include "PrivateFiles.h"
#include "SilentHost.h"
#include "Text.h"

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

void PrintReplacements(const fs::path& folder) {
    for (const PrivateFile& file : LookAtPrivateFiles(folder)) {
        const std::string shown = Utf8FromPath(file.path);
        if (file.state == PrivateFileState::Missing) {
            PrintNote(shown + " does not exist; the default file is read instead");
        } else if (file.state == PrivateFileState::Refused) {
            PrintNote("the module refuses " + shown +
                      ", so that the default file is read instead; \"zqsettings check\" says why");
        }
    }
}

} // namespace

std::vector<Variable> LookAt(const ModuleOptions& options, const std::optional<fs::path>& folder) {
    ModuleOptions copied = options;
    copied.data.clear();
    std::optional<FolderMirror> mirror;
    if (folder) {
        PrintReplacements(*folder);
        copied.data = Utf8FromPath(mirror.emplace(*folder).Copy());
    }
    SilentHost host;
    const ModuleSession session(copied, host);
    return ListVariables(session.Variables());
}

std::optional<fs::path> FindDataFolderOrDefaults(const std::string& data) {
    std::optional<fs::path> folder = FindDataFolder(data);
    if (!folder) {
        PrintNote("using the default files, as this machine has no data folder");
    }
    return folder;
}

} // namespace zq::tool
