// A module object that has run DoInit on the folders of the command line, and ends as hosts have to end it.
#pragma once

#include "CZQModSettings.h"

#include "Command.h"
#include "DataFolder.h"
#include "ModuleLibrary.h"
#include "ScratchFolder.h"

#include <memory>
#include <optional>
#include <string>

namespace zq::tool {

// As given on the command line; all UTF-8, empty where not given.
struct ModuleOptions {
    std::string dll;
    std::string data;
    std::string defaults;
};

// Adds --dll, --data (AddDataOption) and --defaults to a command. `options` must outlive the parse.
void AddModuleOptions(Command command, ModuleOptions& options,
                      const std::string& otherwise = ", then the default files");

class ModuleSession {
public:
    // Loads the module, makes a scratch folder where no data folder is given, and runs DoInit, which replaces
    // what it refuses in the folder: anybody's own folder is handed in as a copy (FolderMirror). Raises
    // Failure with one sentence for a DLL or folder that is missing and for an error that leaves DoInit.
    // `host` must outlive the session.
    ModuleSession(const ModuleOptions& options, CZQModHost& host);

    CZQModSettings& Settings() const { return *m_module; }
    CZQVariable& Variables() const { return *ZQVariables(m_module.get()); }
    // The folder with the three private files.
    std::filesystem::path DataFolder() const { return m_commonData / kDataFolderName; }
    std::string DataFolderText() const;
    const std::filesystem::path& DefaultsFolder() const { return m_defaults; }

    // Destroys the module object, for a host that has stopped and released it itself.
    void End() { ZQDestroy(m_module.release()); }

private:
    struct Ending {
        void operator()(CZQModSettings* module) const;
    };

    void Init(CZQModHost& host);

    // Unloaded, and removed, behind the module object.
    ModuleLibrary m_library;
    std::optional<ScratchFolder> m_scratch;
    std::filesystem::path m_commonData;
    std::filesystem::path m_defaults;
    std::unique_ptr<CZQModSettings, Ending> m_module;
};

} // namespace zq::tool
