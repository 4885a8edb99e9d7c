// The module object: both interfaces in one, with everything that has the same lifetime as the module.
//
// It only forwards: each slot hands its work to the component that does it. Nothing below src/module knows
// this class.
#pragma once

#include "CZQModSettings.h"

#include "base/HostLog.h"
#include "module/Locks.h"
#include "module/files/FolderWatcher.h"
#include "module/files/PrivateFiles.h"
#include "platform/Clock.h"
#include "platform/Event.h"
#include "platform/Thread.h"
#include "sysinfo/StringPublisher.h"
#include "variables/VariableStore.h"
#include "variables/hosts/HostRegistry.h"

#include <string>
#include <string_view>

namespace zq {

class PacketReader;
struct PacketRecord;

class CZQModSettingsImpl final : public CZQModSettings, public CZQVariable {
public:
    CZQModSettingsImpl();
    CZQModSettingsImpl(const CZQModSettingsImpl&) = delete;
    CZQModSettingsImpl& operator=(const CZQModSettingsImpl&) = delete;

    // Slot 0 of both interfaces.
    void* ScalarDeletingDestructor(unsigned int flags) override;

    // CZQModSettings
    int32_t DoInit(CZQModHost* host, const wchar_t* hostPath, const wchar_t* defaultDir,
                   const wchar_t* commonDataDir) override;
    int32_t DoStart() override;
    void DoStop() override;
    void DoRelease() override;
    void UpdateDefaultDeviceName() override;
    void SaveConfigRemoved6(const wchar_t* name) override;
    void SaveConfigRemoved7(const wchar_t* name) override;
    void SaveConfigRemoved8(const wchar_t* name) override;
    void SaveConfigRemoved9(const wchar_t* name) override;
    void SaveConfigHmdListIntArray(const wchar_t* deviceName, int32_t mainRequest, int32_t subRequest,
                                   int32_t index, const int64_t* values, int32_t count) override;
    void SaveConfigDouble(const wchar_t* name, double value, ZQBool perDevice) override;
    void SaveConfigBool(const wchar_t* name, ZQBool value, ZQBool perDevice) override;
    void SaveConfigString(const wchar_t* name, const char* value, ZQBool perDevice) override;
    void SaveConfigInt64(const wchar_t* name, int64_t value, ZQBool perDevice) override;

    // CZQVariable
    void RegisterHost(CZQVariableHost* host) override;
    void UnregisterHost(CZQVariableHost* host) override;
    void RemoveAllVariables() override;
    void* PackVariable(const wchar_t* name, uint32_t type, const void* value, size_t length,
                       size_t* packetSize) override;
    void* PackAllVariables(size_t* packetSize) override;
    int32_t UnpackVariables(const void* packet, size_t packetSize, CZQVariableHost* source) override;
    void SetVariableBinary(const wchar_t* name, size_t length, const void* bytes, CZQVariableHost* source,
                           int32_t force) override;
    void SetVariableDouble(const wchar_t* name, double value, CZQVariableHost* source,
                           int32_t force) override;
    void SetVariableBool(const wchar_t* name, ZQBool value, CZQVariableHost* source, int32_t force) override;
    void SetVariableInt64(const wchar_t* name, int64_t value, CZQVariableHost* source,
                          int32_t force) override;
    void SetVariableString(const wchar_t* name, const wchar_t* value, CZQVariableHost* source,
                           int32_t force) override;
    int32_t GetVariableBinary(const wchar_t* name, void* buffer, size_t bufferSize, size_t* length) override;
    int32_t GetVariableDouble(const wchar_t* name, double* value) override;
    int32_t GetVariableBool(const wchar_t* name, ZQBool* value) override;
    int32_t GetVariableInt64(const wchar_t* name, int64_t* value) override;
    int32_t GetVariableString(const wchar_t* name, wchar_t* buffer, int32_t bufferSize) override;

private:
    ~CZQModSettingsImpl();

    void BuildPaths();
    void SurveyMachine();
    // Sets a string variable and notifies the hosts, for components that do not know the store.
    StringPublisher VariablePublisher();

    void UnpackRecord(PacketReader& reader, const PacketRecord& record, CZQVariableHost* source);
    void AddEmptyString(std::wstring_view name, CZQVariableHost* source);
    template <class Set>
    void SetAndNotify(const wchar_t* name, uint32_t type, CZQVariableHost* source, int32_t force, Set set);

    void SaveConfigRemoved(const wchar_t* name);
    template <class Setter>
    void SaveConfig(const wchar_t* name, ZQBool perDevice, Setter set);

    static unsigned long __stdcall WatchThreadRoutine(void* module);

    HostLog m_log;
    std::wstring m_strInstallDir;
    std::wstring m_strHostPath;
    std::wstring m_strDefaultDir;
    std::wstring m_strCommonDataDir;
    std::wstring m_strDefaultSettingsFile;
    std::wstring m_strSettingsFile;
    std::wstring m_strDefaultHmdListFile;
    std::wstring m_strHmdListFile;
    std::wstring m_strDefaultQualityFile;
    std::wstring m_strQualityFile;
    Locks m_locks;
    HostRegistry m_hosts{m_locks.hostList, m_locks.TerminationGuards()};
    VariableStore m_store{m_locks.store};
    Event m_hStopEvent{EventReset::Manual};
    Thread m_hWatchThread ZQ_GUARDED_BY(m_locks.lifecycle);
    FileTime m_tSettingsTime;
    FileTime m_tHmdListTime;
    FileTime m_tQualityTime;
    std::string m_strMachineType;
    std::string m_strNetworkSpeed;
    std::string m_strNetworkDriverVersion;
    std::wstring m_dataFolder;
    PrivateFiles m_files{PrivateFile(ConfigFile::Settings, m_strSettingsFile, m_strDefaultSettingsFile,
                                     m_tSettingsTime, m_locks.OfFile(ConfigFile::Settings)),
                         PrivateFile(ConfigFile::HmdList, m_strHmdListFile, m_strDefaultHmdListFile,
                                     m_tHmdListTime, m_locks.OfFile(ConfigFile::HmdList)),
                         PrivateFile(ConfigFile::Quality, m_strQualityFile, m_strDefaultQualityFile,
                                     m_tQualityTime, m_locks.OfFile(ConfigFile::Quality))};
    FilesContext m_filesContext{m_store, m_log, SystemClock()};
    FolderWatcher m_watcher{m_files,
                            m_filesContext,
                            {m_dataFolder, m_hStopEvent, [this] { m_hosts.NotifyHostsReloaded(); },
                             [this] { m_log.Host()->OnConfigReloaded(); }, nullptr}};
};

} // namespace zq
