// Provisioning, loading and repair of the private configuration files.
#include "module/CZQModSettingsImpl.h"

#include "config/ConfigLoader.h"
#include "module/ConfigFileTable.h"
#include "module/files/RejectedFolder.h"
#include "platform/FileSettling.h"

#include <optional>

namespace zq {

namespace {

constexpr int kLoadTries = 10;

} // namespace

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
        const std::optional<FileTime> before = LastWriteTime(path);
        const bool isRepaired = LoadOrRepair(row, L"DoInit() copy %s again OK , exist:%d.");
        // An edit made since the file was read must differ from the time that is recorded.
        if (const auto time = isRepaired ? LastWriteTime(path) : before) {
            this->*row.time = *time;
        }
    }
}

bool CZQModSettingsImpl::LoadPrivateFile(const ConfigFileRow& row) {
    return LoadConfigFile(row.file, this->*row.privatePath, {m_store, m_log, &(this->*row.fileMutex)});
}

bool CZQModSettingsImpl::LoadOrRepair(const ConfigFileRow& row, const wchar_t* message) {
    const std::wstring& path = this->*row.privatePath;
    for (int tries = 1;; ++tries) {
        const std::optional<FileState> before = QueryFileState(path);
        if (LoadPrivateFile(row)) {
            return false;
        }
        // What was refused may have been half an edit: only what stays as it was refused, and what nobody is
        // writing any more, is replaced.
        const Settling settling = WaitUntilFileSettles(path, this->*row.fileMutex, m_hStopEvent);
        if (settling == Settling::Stopped) {
            return false;
        }
        if (tries == kLoadTries || (settling == Settling::Settled && QueryFileState(path) == before)) {
            break;
        }
    }
    {
        MutexLock lock(this->*row.fileMutex);
        RemoveRejectedFile(path);
        CopyDefaultOverPrivateFile(row);
    }
    m_log.Log(LogNotable, message, path.c_str(), ExistenceResult(path));
    LoadPrivateFile(row);
    return true;
}

void CZQModSettingsImpl::CopyDefaultOverPrivateFile(const ConfigFileRow& row) {
    CopyWholeFile(this->*row.defaultPath, this->*row.privatePath, CopyMode::Overwrite);
}

} // namespace zq
