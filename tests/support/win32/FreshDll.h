// A copy of the module's DLL with its own static data, for behaviour that occurs once in a process.
#pragma once

#include "support/win32/Module.h"

#include <filesystem>

namespace zq::test {

// Unloaded and removed by the destructor; the objects that it made must be destroyed before.
//
// REQUIRES: no host's thread was terminated in this process before. Wine then fails to load an image with
// thread-local storage. Tests run in the reverse order of their objects' linking: list a source that uses
// this in tests/CMakeLists.txt, which then links it after the batches.
class FreshDll {
public:
    FreshDll() {
        const std::filesystem::path copy = m_folder.Path() / L"ZQModSettings.dll";
        std::filesystem::copy_file(ProgramFolder() / L"ZQModSettings.dll", copy);
        m_dll = LoadLibraryW(copy.c_str());
    }
    ~FreshDll() { FreeLibrary(m_dll); }
    FreshDll(const FreshDll&) = delete;
    FreshDll& operator=(const FreshDll&) = delete;

    HMODULE Handle() const { return m_dll; }
    CZQModSettings* Create() const {
        return reinterpret_cast<ZQCreateSettingsFunction>(
            reinterpret_cast<void*>(GetProcAddress(m_dll, "CreateSettings")))();
    }

private:
    TempFolder m_folder;
    HMODULE m_dll;
};

} // namespace zq::test
