// The three configuration files: their names and every text about them that the module logs.
//
// The texts are an interface, as they are: hosts and support tools search logs for them. Their misspellings
// stay.
#pragma once

#include <array>
#include <cstddef>

namespace zq {

// In the order in which the files are provisioned, loaded and reloaded.
enum class ConfigFile { Settings, HmdList, Quality };

inline constexpr std::array<ConfigFile, 3> kConfigFiles = {ConfigFile::Settings, ConfigFile::HmdList,
                                                           ConfigFile::Quality};

// In all formats %s is the file's path.
struct ConfigFileTexts {
    const wchar_t* name;
    // Of a load.
    const wchar_t* begin;
    const wchar_t* notFound;
    const wchar_t* openFail;
    // Of a reload pass.
    const wchar_t* missing;
    const wchar_t* statFailed;
    const wchar_t* changed;
    const wchar_t* unchanged;
};

// By ConfigFile.
inline constexpr std::array<ConfigFileTexts, 3> kConfigFileTexts = {{
    {L"ZQ2_serverSetting.setting", L"LoadSettingsFromFile begin.", L"Settings file not found : %s",
     L"Settings file open fail : %s",
     L"ReloadPrivateConfigFile() Private settings file not found copy %s OK , exist:%d.",
     L"Fail to get stat of private settings file.", L"Private settings file changed.",
     L"Private settings file not changed."},
    {L"ZQ2_HmdList.json", L"LoadHmdListFromFile begin.", L"Hmd list file not found : %s",
     L"Hmd list file open fail : %s",
     L"ReloadPrivateConfigFile()  HMD List file not found copy %s again OK , exist:%d.",
     L"Fail to get stat of private hmd list file.", L"Private hmd list file changed.",
     L"Private hmd list file not changed."},
    {L"ZQ2_QualityPreset.json", L"LoadQualityFromFile begin.", L"Quality Preset file not found : %s",
     L"Quality Preset file open fail : %s",
     L"ReloadPrivateConfigFile()Quality preset file not found copy %s again OK , exist:%d.",
     L"Fail to get stat of private Quality file.", L"Private Quality file changed.",
     L"Private Quality file not changed."},
}};

// Of a refused file, whichever of the three: path, parse result and file length.
inline constexpr const wchar_t* kConfigParseFailed =
    L"LoadSettingsFromFile() JSON paser %s fail ret length: %d , file length:%d copy again.";

constexpr const ConfigFileTexts& TextsOf(ConfigFile file) {
    return kConfigFileTexts[static_cast<size_t>(file)];
}

constexpr const wchar_t* NameOfConfigFile(ConfigFile file) { return TextsOf(file).name; }

} // namespace zq
