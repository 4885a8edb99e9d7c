// DoInit, DoStart, DoStop and DoRelease.
#include "module/CZQModSettingsImpl.h"

#include "module/ConfigFileTable.h"
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
    ProvisionPrivateFiles();
    LoadPrivateFiles();
    SurveyMachine();
    UpdateDefaultDeviceName();
    m_log.Log(LogProgress, L"DoInit end.");
    return 0;
}

std::wstring CZQModSettingsImpl::DataFolder() const { return m_strCommonDataDir + L"\\ZQserver\\"; }

void CZQModSettingsImpl::BuildPaths() {
    for (const ConfigFileRow& row : ConfigFileRow::kAll) {
        this->*row.defaultPath = m_strDefaultDir + L"\\" + row.name;
        this->*row.privatePath = DataFolder() + row.name;
    }
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

int32_t CZQModSettingsImpl::DoStart() {
    m_log.Log(LogProgress, L"DoStart begin");
    m_hWatchThread.Start(WatchThreadRoutine, this, {m_hStopEvent.Get()});
    GetLocalClientAPKVersion(m_log, VariablePublisher(), m_strInstallDir);
    m_log.Log(LogProgress, L"DoStart end");
    return 0;
}

void CZQModSettingsImpl::DoStop() {
    m_log.Log(LogProgress, L"DoStop begin");
    m_hStopEvent.Set();
    m_hWatchThread.Stop(m_hStopEvent.Get(), m_hosts.TerminationGuards());
    m_log.Log(LogProgress, L"DoStop end");
}

void CZQModSettingsImpl::DoRelease() {
    m_log.Log(LogProgress, L"DoRelease begin");
    m_store.RemoveBinaries();
    m_log.Log(LogProgress, L"DoRelease end");
}

} // namespace zq
