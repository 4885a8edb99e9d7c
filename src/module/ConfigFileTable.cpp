#include "module/ConfigFileTable.h"

#include "config/ConfigFile.h"

namespace zq {

using Impl = CZQModSettingsImpl;

// In the order in which the files are provisioned, loaded and reloaded.
const std::array<ConfigFileRow, 3> ConfigFileRow::kAll = {{
    {ConfigFile::Settings, NameOfConfigFile(ConfigFile::Settings), &Impl::m_strDefaultSettingsFile,
     &Impl::m_strSettingsFile, &Impl::m_tSettingsTime, &Impl::m_settingsFileMutex,
     L"ReloadPrivateConfigFile() Private settings file not found copy %s OK , exist:%d.",
     L"Fail to get stat of private settings file.", L"Private settings file changed.",
     L"Private settings file not changed."},
    {ConfigFile::HmdList, NameOfConfigFile(ConfigFile::HmdList), &Impl::m_strDefaultHmdListFile,
     &Impl::m_strHmdListFile, &Impl::m_tHmdListTime, &Impl::m_hmdListFileMutex,
     L"ReloadPrivateConfigFile()  HMD List file not found copy %s again OK , exist:%d.",
     L"Fail to get stat of private hmd list file.", L"Private hmd list file changed.",
     L"Private hmd list file not changed."},
    {ConfigFile::Quality, NameOfConfigFile(ConfigFile::Quality), &Impl::m_strDefaultQualityFile,
     &Impl::m_strQualityFile, &Impl::m_tQualityTime, &Impl::m_qualityFileMutex,
     L"ReloadPrivateConfigFile()Quality preset file not found copy %s again OK , exist:%d.",
     L"Fail to get stat of private Quality file.", L"Private Quality file changed.",
     L"Private Quality file not changed."},
}};

} // namespace zq
