#include "support/win32/Module.h"

#include "support/win32/Waiting.h"
#include "support/win32/WatchRequests.h"

#include <stdexcept>

#include <windows.h>

namespace zq::test {

HMODULE LoadModuleDll() {
    static const HMODULE dll = LoadLibraryW(L"ZQModSettings.dll");
    if (!dll) {
        throw std::runtime_error("ZQModSettings.dll is not beside the test program");
    }
    CountWatchRequests(dll);
    return dll;
}

CZQModSettings* CreateFromDll() {
    static const auto create = reinterpret_cast<ZQCreateSettingsFunction>(
        reinterpret_cast<void*>(GetProcAddress(LoadModuleDll(), "CreateSettings")));
    return create();
}

Module::Module(CZQModSettings* settings) : m_settings(settings) {
    if (!m_settings) {
        throw std::runtime_error("CreateSettings returned null");
    }
    m_variables = ZQVariables(m_settings);
}

std::optional<int> Module::Bool(const wchar_t* name) const {
    ZQBool value = 0;
    return m_variables->GetVariableBool(name, &value) ? std::optional<int>(value) : std::nullopt;
}

std::optional<int64_t> Module::Int64(const wchar_t* name) const {
    int64_t value = 0;
    return m_variables->GetVariableInt64(name, &value) ? std::optional(value) : std::nullopt;
}

std::optional<double> Module::Double(const wchar_t* name) const {
    double value = 0;
    return m_variables->GetVariableDouble(name, &value) ? std::optional(value) : std::nullopt;
}

std::optional<std::wstring> Module::String(const wchar_t* name) const {
    std::wstring buffer(64 * 1024, L'\0');
    if (!m_variables->GetVariableString(name, buffer.data(), static_cast<int32_t>(buffer.size()))) {
        return std::nullopt;
    }
    return std::wstring(buffer.c_str());
}

std::optional<std::vector<unsigned char>> Module::Binary(const wchar_t* name) const {
    size_t length = SIZE_MAX;
    m_variables->GetVariableBinary(name, nullptr, 0, &length);
    if (length == SIZE_MAX) {
        return std::nullopt;
    }
    std::vector<unsigned char> bytes(length + 1);
    m_variables->GetVariableBinary(name, bytes.data(), bytes.size(), &length);
    bytes.resize(length);
    return bytes;
}

void InitAndWatch(Module& module, RecordingHost& host, const ModuleFolders& folders) {
    module.Init(host, folders);
    const int requests = WatchRequests();
    module->DoStart();
    if (!WaitFor([&] { return WatchRequests() > requests; })) {
        throw std::runtime_error("the watcher does not start");
    }
}

} // namespace zq::test
