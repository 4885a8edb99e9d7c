// DoInit, DoStart, DoStop and DoRelease.
#include "module/CZQModSettingsImpl.h"

#include "module/DefaultSettings.h"
#include "sysinfo/ClientVersion.h"
#include "sysinfo/WmiSurvey.h"

#include <stdexcept>
#include <utility>

namespace zq {

namespace {

constexpr size_t kInstallDirMaximum = 511;

std::wstring TextOrEmpty(const wchar_t* text) { return text ? text : L""; }

std::wstring FolderOf(const std::wstring& path) {
    const size_t backslash = path.rfind(L'\\');
    std::wstring folder = path.substr(0, backslash == std::wstring::npos ? 0 : backslash);
    if (folder.size() > kInstallDirMaximum) {
        throw std::invalid_argument("the installation folder has more than 511 characters");
    }
    return folder;
}

} // namespace

int32_t CZQModSettingsImpl::DoInit(CZQModHost* host, const wchar_t* hostPath, const wchar_t* defaultDir,
                                   const wchar_t* commonDataDir) {
    m_log.SetHost(host);
    m_strHostPath = TextOrEmpty(hostPath);
    m_strDefaultDir = TextOrEmpty(defaultDir);
    m_strCommonDataDir = TextOrEmpty(commonDataDir);
    BuildPaths();
    m_log.Log(LogProgress, L"DoInit begin");
    LoadDefaultSettings(m_store);
    ProvisionAndLoadPrivateFiles(m_files, m_filesContext);
    SurveyMachine();
    UpdateDefaultDeviceName();
    m_log.Log(LogProgress, L"DoInit end.");
    return 0;
}

void CZQModSettingsImpl::BuildPaths() {
    m_dataFolder = m_strCommonDataDir + L"\\ZQserver\\";
    const auto build = [this](ConfigFile file, std::wstring& path, std::wstring& defaultPath) {
        path = m_dataFolder + NameOfConfigFile(file);
        defaultPath = m_strDefaultDir + L"\\" + NameOfConfigFile(file);
    };
    build(ConfigFile::Settings, m_strSettingsFile, m_strDefaultSettingsFile);
    build(ConfigFile::HmdList, m_strHmdListFile, m_strDefaultHmdListFile);
    build(ConfigFile::Quality, m_strQualityFile, m_strDefaultQualityFile);
    m_strInstallDir = FolderOf(m_strHostPath);
}

StringPublisher CZQModSettingsImpl::VariablePublisher() {
    return [this](const wchar_t* name, const std::wstring& value) {
        SetVariableString(name, value.c_str(), nullptr, 0);
    };
}

void CZQModSettingsImpl::SurveyMachine() {
    MachineSurvey machine{m_strMachineType, m_strNetworkSpeed, m_strNetworkDriverVersion};
    WmiServiceExectue(m_log, VariablePublisher(), machine);
    m_strMachineType = std::move(machine.machineType);
    m_strNetworkSpeed = std::move(machine.networkSpeed);
    m_strNetworkDriverVersion = std::move(machine.networkDriverVersion);
}

DWORD WINAPI CZQModSettingsImpl::WatchThreadRoutine(void* module) {
    static_cast<CZQModSettingsImpl*>(module)->m_watcher.ThreadEntryWatchConfig();
    return 0;
}

int32_t CZQModSettingsImpl::DoStart() {
    m_log.Log(LogProgress, L"DoStart begin");
    {
        MutexLock lock(m_locks.lifecycle);
        if (!m_hWatchThread.IsRunning()) {
            m_hWatchThread.Start(WatchThreadRoutine, this, {m_hStopEvent.Get()});
        }
    }
    GetLocalClientAPKVersion(m_log, VariablePublisher(), m_strInstallDir);
    m_log.Log(LogProgress, L"DoStart end");
    return 0;
}

void CZQModSettingsImpl::DoStop() {
    m_log.Log(LogProgress, L"DoStop begin");
    m_watcher.PrepareStop();
    m_hStopEvent.Set();
    {
        MutexLock lock(m_locks.lifecycle);
        if (!m_hWatchThread.EndsAfter(m_hStopEvent.Get())) {
            m_hWatchThread.Terminate(m_locks.TerminationGuards());
            m_watcher.CloseAfterTermination();
        }
    }
    m_log.Log(LogProgress, L"DoStop end");
}

void CZQModSettingsImpl::DoRelease() {
    m_log.Log(LogProgress, L"DoRelease begin");
    m_store.RemoveBinaries();
    m_log.Log(LogProgress, L"DoRelease end");
}

} // namespace zq
