#include "ModuleLibrary.h"

#include "Failure.h"
#include "Text.h"

#include <string>

#include <windows.h>

namespace zq::tool {

namespace fs = std::filesystem;

fs::path ProgramPath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

void ModuleLibrary::Unload::operator()(void* library) const { FreeLibrary(static_cast<HMODULE>(library)); }

ModuleLibrary::ModuleLibrary(fs::path file) {
    if (file.empty()) {
        file = ProgramPath().replace_filename(L"ZQModSettings.dll");
    }
    file = fs::absolute(file).make_preferred();
    if (!fs::exists(file)) {
        throw Failure("the module " + Utf8FromPath(file) + " does not exist");
    }
    m_library.reset(LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (!m_library) {
        throw Failure("the module " + Utf8FromPath(file) +
                      " cannot be loaded: " + SystemErrorText(GetLastError()));
    }
    const FARPROC create = GetProcAddress(static_cast<HMODULE>(m_library.get()), "CreateSettings");
    if (!create) {
        throw Failure("the module " + Utf8FromPath(file) + " does not export CreateSettings");
    }
    m_create = reinterpret_cast<ZQCreateSettingsFunction>(reinterpret_cast<void*>(create));
}

CZQModSettings* ModuleLibrary::Create() const {
    CZQModSettings* const module = m_create();
    if (!module) {
        throw Failure("the module has no memory for its object");
    }
    return module;
}

} // namespace zq::tool
