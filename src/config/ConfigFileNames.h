// The files' names, by ConfigFile.
#pragma once

#include "config/ConfigText.h"

#include <array>

namespace zq {

inline constexpr std::array<const wchar_t*, 3> kConfigFileNames = {
    L"ZQ2_serverSetting.setting", L"ZQ2_HmdList.json", L"ZQ2_QualityPreset.json"};

constexpr const wchar_t* NameOfConfigFile(ConfigFile file) {
    return kConfigFileNames[static_cast<size_t>(file)];
}

} // namespace zq
