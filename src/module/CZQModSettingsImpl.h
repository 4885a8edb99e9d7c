// The module object: both interfaces in one, with everything that lives as long as the module does.
//
// It only forwards: each slot hands its work to the room that does it. Nothing below src/module knows this
// class.
#pragma once

#include "CZQModSettings.h"

#include "platform/Event.h"
#include "platform/Files.h"
#include "base/HostLog.h"
#include "platform/Thread.h"
#include "sysinfo/StringPublisher.h"
#include "variables/hosts/HostRegistry.h"
#include "variables/VariableStore.h"

#include <string>
#include <string_view>

namespace zq {

class DirectoryWatch;
class PacketReader;
struct PacketRecord;
struct ConfigFileRow;

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
    friend struct ConfigFileRow;

    ~CZQModSettingsImpl();

    // Lifecycle.cpp
    void BuildPaths();
    std::wstring DataFolder() const;
    void SurveyMachine();
    // Sets a string variable and tells the hosts, as the rooms that know no store ask for it.
    StringPublisher VariablePublisher();

    // VariableSlots.cpp
    void UnpackRecord(const PacketReader& reader, const PacketRecord& record, CZQVariableHost* source);
    template <class Set>
    void SetAndNotify(const wchar_t* name, uint32_t type, CZQVariableHost* source, int32_t force, Set set);

    // ConfigFiles.cpp
    void ProvisionPrivateFiles();
    void LoadPrivateFiles();
    bool LoadPrivateFile(const ConfigFileRow& row);
    // Loads a private file; one that is refused is replaced by its default copy, `message` is logged, and the
    // copy is loaded. Returns whether it was replaced.
    bool LoadOrRepair(const ConfigFileRow& row, const wchar_t* message);
    void CopyDefaultOverPrivateFile(const ConfigFileRow& row);

    // SaveSlots.cpp
    void SaveConfigRemoved(const wchar_t* name);
    template <class Setter>
    void SaveConfig(const wchar_t* name, ZQBool perDevice, Setter set);

    // FolderWatcher.cpp, on the watcher's thread
    static unsigned long __stdcall WatchThreadRoutine(void* module);
    void ThreadEntryWatchConfig();
    void WatchUntilStopped(DirectoryWatch& watch);
    bool HasUnseenEdit() const;
    void ReloadAndTellHost();
    // False when the stop event cut the pass short.
    bool ReloadPrivateConfigFile();
    bool ReloadIfChanged(const ConfigFileRow& row);

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
    HostRegistry m_hosts{m_store.GetMutex()};
    VariableStore m_store;
    Event m_hStopEvent{EventReset::Manual};
    Thread m_hWatchThread;
    FileTime m_tSettingsTime;
    FileTime m_tHmdListTime;
    FileTime m_tQualityTime;
    std::string m_strMachineType;
    std::string m_strNetworkSpeed;
    std::string m_strNetworkDriverVersion;
    // Held around the module's own reads and writes of one private file.
    Mutex m_settingsFileMutex;
    Mutex m_hmdListFileMutex;
    Mutex m_qualityFileMutex;
};

} // namespace zq
