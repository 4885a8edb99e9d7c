// The watcher's thread: follows the data folder and reloads what changed.
#include "module/CZQModSettingsImpl.h"

#include "module/ConfigFileTable.h"
#include "platform/DirectoryWatch.h"
#include "platform/FileSettling.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace zq {

namespace {

bool EqualsIgnoringAsciiCase(std::wstring_view a, std::wstring_view b) {
    const auto lower = [](wchar_t c) {
        return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
    };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [lower](wchar_t x, wchar_t y) { return lower(x) == lower(y); });
}

bool IsConfigFileName(std::wstring_view name) {
    return std::any_of(ConfigFileRow::kAll.begin(), ConfigFileRow::kAll.end(),
                       [name](const ConfigFileRow& row) { return EqualsIgnoringAsciiCase(name, row.name); });
}

} // namespace

DWORD WINAPI CZQModSettingsImpl::WatchThreadRoutine(void* module) {
    static_cast<CZQModSettingsImpl*>(module)->ThreadEntryWatchConfig();
    return 0;
}

void CZQModSettingsImpl::ThreadEntryWatchConfig() {
    m_log.Log(LogProgress, L"ThreadEntryWatchConfig begin.");
    {
        DirectoryWatch watch(DataFolder());
        if (!watch.IsOpen()) {
            m_log.Log(LogFailure, L"Fail to CreateFile on programdata folder.");
            return;
        }
        m_log.Log(LogProgress, L"CreateFile to programdata folder success.");
        WatchUntilStopped(watch);
    }
    m_log.Log(LogProgress, L"ThreadEntryWatchConfig end.");
}

void CZQModSettingsImpl::WatchUntilStopped(DirectoryWatch& watch) {
    for (bool isFirst = true;; isFirst = false) {
        const DWORD error = watch.Request();
        if (error != ERROR_SUCCESS) {
            const std::wstring text =
                L"Fail to ReadDirectoryChangesW, error = " + std::to_wstring(static_cast<int32_t>(error));
            m_log.Log(LogFailure, text.c_str());
            return;
        }
        // An edit made since the files were loaded, before anything watched, has raised no completion.
        if (isFirst && HasUnseenEdit() && !m_hStopEvent.Wait(0)) {
            ReloadAndTellHost();
        }
        const HANDLE handles[] = {m_hStopEvent.Get(), watch.CompletionEvent()};
        if (WaitForMultipleObjects(2, handles, FALSE, INFINITE) == WAIT_OBJECT_0) {
            return;
        }
        // Only the first name counts. Where names were lost, any of the three files may be among them.
        const DirectoryWatch::Result result = watch.Fetch();
        const bool isMatch =
            result == DirectoryWatch::Result::Lost ||
            (result == DirectoryWatch::Result::Change && IsConfigFileName(watch.FirstName()));
        if (isMatch) {
            ReloadAndTellHost();
        }
    }
}

bool CZQModSettingsImpl::HasUnseenEdit() const {
    return std::any_of(ConfigFileRow::kAll.begin(), ConfigFileRow::kAll.end(),
                       [this](const ConfigFileRow& row) {
                           const std::optional<FileTime> time = LastWriteTime(this->*row.privatePath);
                           return time && *time != this->*row.time;
                       });
}

void CZQModSettingsImpl::ReloadAndTellHost() {
    if (ReloadPrivateConfigFile()) {
        m_log.Host()->OnConfigReloaded();
    }
}

bool CZQModSettingsImpl::ReloadPrivateConfigFile() {
    m_log.Log(LogProgress, L"ReloadPrivateConfigFile begin");
    return std::all_of(ConfigFileRow::kAll.begin(), ConfigFileRow::kAll.end(),
                       [this](const ConfigFileRow& row) { return ReloadIfChanged(row); });
}

bool CZQModSettingsImpl::ReloadIfChanged(const ConfigFileRow& row) {
    const std::wstring& path = this->*row.privatePath;
    FileTime& recorded = this->*row.time;
    if (LastWriteTime(path) != recorded &&
        WaitUntilFileSettles(path, this->*row.fileMutex, m_hStopEvent) == Settling::Stopped) {
        return false;
    }
    if (!FileExists(path)) {
        CopyDefaultOverPrivateFile(row);
        m_log.Log(LogNotable, row.missing, path.c_str(), ExistenceResult(path));
    }
    const std::optional<FileTime> time = LastWriteTime(path);
    if (!time) {
        m_log.Log(LogFailure, row.statFailed);
        return true;
    }
    if (*time == recorded) {
        m_log.Log(LogProgress, row.unchanged);
        return true;
    }
    recorded = *time;
    m_log.Log(LogProgress, row.changed);
    LoadOrRepair(row, L"ReloadPrivateConfigFile() copy %s again OK , exist:%d.");
    m_hosts.NotifyHostsReloaded();
    return true;
}

} // namespace zq
