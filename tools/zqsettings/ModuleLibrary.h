// The settings module's DLL: loaded from a file, unloaded at the end.
#pragma once

#include "CZQModSettings.h"

#include <filesystem>
#include <memory>

namespace zq::tool {

// The full path of this program.
std::filesystem::path ProgramPath();

class ModuleLibrary {
public:
    // Loads `file`, or ZQModSettings.dll from this program's own folder when `file` is empty. Raises Failure
    // when it cannot be loaded or does not export CreateSettings.
    explicit ModuleLibrary(std::filesystem::path file);

    // A new module object. It must be destroyed before this one.
    CZQModSettings* Create() const;

private:
    struct Unload {
        void operator()(void* library) const;
    };

    std::unique_ptr<void, Unload> m_library;
    ZQCreateSettingsFunction m_create = nullptr;
};

} // namespace zq::tool
