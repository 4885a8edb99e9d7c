// A module object as a host has it: from the DLL, used only through the public headers.
#pragma once

#include "CZQModSettings.h"

#include "support/RecordingHost.h"
#include "support/win32/Folders.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <windows.h>

namespace zq::test {

// The DLL in the test program's folder, loaded once and kept.
HMODULE LoadModuleDll();
CZQModSettings* CreateFromDll(); // may be null

// A new module object, which is stopped, released and destroyed in the order that hosts must keep.
class Module {
public:
    // Raises std::runtime_error when the DLL makes none.
    Module() : Module(CreateFromDll()) {}
    // Takes over an object of another copy of the DLL.
    explicit Module(CZQModSettings* settings);
    ~Module() { Destroy(); }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    void Init(CZQModHost& host, const ModuleFolders& folders) {
        m_settings->DoInit(&host, folders.HostPath().c_str(), folders.DefaultDir().c_str(),
                           folders.CommonDataDir().c_str());
    }
    void Destroy() {
        if (m_settings) {
            m_settings->DoStop();
            m_settings->DoRelease();
            ZQDestroy(m_settings);
            m_settings = nullptr;
        }
    }

    CZQModSettings* operator->() const { return m_settings; }
    CZQModSettings& Settings() const { return *m_settings; }
    CZQVariable& Variables() const { return *m_variables; }

    // The value of a variable, or nothing.
    std::optional<int> Bool(const wchar_t* name) const;
    std::optional<int64_t> Int64(const wchar_t* name) const;
    std::optional<double> Double(const wchar_t* name) const;
    std::optional<std::wstring> String(const wchar_t* name) const;
    std::optional<std::vector<unsigned char>> Binary(const wchar_t* name) const;

private:
    CZQModSettings* m_settings;
    CZQVariable* m_variables;
};

// Calls DoInit and DoStart, and waits until the watcher sees changes.
void InitAndWatch(Module& module, RecordingHost& host, const ModuleFolders& folders);

} // namespace zq::test
