// Provisioning, loading and repair of the private configuration files.
#include "module/CZQModSettingsImpl.h"

#include "config/ConfigLoader.h"
#include "module/ConfigFileTable.h"

namespace zq {

void CZQModSettingsImpl::ProvisionPrivateFiles() {
    for (const ConfigFileRow& row : ConfigFileRow::kAll) {
        const std::wstring& path = this->*row.privatePath;
        if (!FileExists(path)) {
            CopyWholeFile(this->*row.defaultPath, path, CopyMode::FailIfExists);
            m_log.Log(LogNotable, L"[DoInit] copy %s OK , exist:%d .", path.c_str(), ExistenceResult(path));
        }
    }
}

void CZQModSettingsImpl::LoadPrivateFiles() {
    for (const ConfigFileRow& row : ConfigFileRow::kAll) {
        const std::wstring& path = this->*row.privatePath;
        if (!FileExists(path)) {
            continue;
        }
        if (!LoadPrivateFile(row)) {
            RepairPrivateFile(row, L"DoInit() copy %s again OK , exist:%d.");
        }
        if (const auto time = LastWriteTime(path)) {
            this->*row.time = *time;
        }
    }
}

bool CZQModSettingsImpl::LoadPrivateFile(const ConfigFileRow& row) {
    return LoadConfigFile(row.file, this->*row.privatePath, {m_store, m_log});
}

void CZQModSettingsImpl::RepairPrivateFile(const ConfigFileRow& row, const wchar_t* message) {
    const std::wstring& path = this->*row.privatePath;
    RemoveFile(path);
    CopyWholeFile(this->*row.defaultPath, path, CopyMode::Overwrite);
    m_log.Log(LogNotable, message, path.c_str(), ExistenceResult(path));
    LoadPrivateFile(row);
}

} // namespace zq
