// The save slots of CZQModSettings.
#include "module/CZQModSettingsImpl.h"

#include "save/SaveOperations.h"

#include <cmath>
#include <cstring>
#include <stdexcept>

namespace zq {

namespace {

template <class Character>
const Character* Checked(const Character* text, const char* message) {
    if (!text) {
        throw std::invalid_argument(message);
    }
    return text;
}

} // namespace

void CZQModSettingsImpl::SaveConfigRemoved6(const wchar_t* name) { SaveConfigRemoved(name); }
void CZQModSettingsImpl::SaveConfigRemoved7(const wchar_t* name) { SaveConfigRemoved(name); }
void CZQModSettingsImpl::SaveConfigRemoved8(const wchar_t* name) { SaveConfigRemoved(name); }
void CZQModSettingsImpl::SaveConfigRemoved9(const wchar_t* name) { SaveConfigRemoved(name); }

void CZQModSettingsImpl::SaveConfigRemoved(const wchar_t* name) {
    m_log.Log(LogProgress, L"Remove SaveConfig: %s", name);
}

void CZQModSettingsImpl::SaveConfigHmdListIntArray(const wchar_t* deviceName, int32_t mainRequest,
                                                   int32_t subRequest, int32_t index, const int64_t* values,
                                                   int32_t count) {
    Checked(deviceName, "the name of a device is null");
    const size_t size = count > 0 ? static_cast<size_t>(count) : 0;
    if (size != 0) {
        Checked(values, "the values to save are null");
    }
    SaveHmdListValues({m_strHmdListFile, m_locks.OfFile(ConfigFile::HmdList), m_log}, deviceName,
                      {mainRequest, subRequest, index}, {values, size});
}

template <class Setter>
void CZQModSettingsImpl::SaveConfig(const wchar_t* name, ZQBool perDevice, Setter set) {
    SettingName setting{Checked(name, "the name of a variable is null"), perDevice != 0, std::nullopt};
    int64_t index = 0;
    if (setting.isPerDevice && m_store.GetInt64(L"DHI", &index)) {
        setting.deviceIndex = index;
    }
    SaveSetting({m_strSettingsFile, m_locks.OfFile(ConfigFile::Settings), m_log}, setting, set);
}

void CZQModSettingsImpl::SaveConfigDouble(const wchar_t* name, double value, ZQBool perDevice) {
    // JSON has no infinity or NaN: the writer would stop half-way and leave a broken file.
    if (std::isfinite(value)) {
        SaveConfig(name, perDevice, [value](EditableValue& member) { member.SetDouble(value); });
    }
}

void CZQModSettingsImpl::SaveConfigBool(const wchar_t* name, ZQBool value, ZQBool perDevice) {
    SaveConfig(name, perDevice, [value](EditableValue& member) { member.SetBool(value != 0); });
}

void CZQModSettingsImpl::SaveConfigString(const wchar_t* name, const char* value, ZQBool perDevice) {
    const size_t length = std::strlen(Checked(value, "the value of a string variable is null"));
    SaveConfig(name, perDevice, [value, length](EditableValue& member) {
        member.SetString(rapidjson::StringRef(value, length));
    });
}

void CZQModSettingsImpl::SaveConfigInt64(const wchar_t* name, int64_t value, ZQBool perDevice) {
    SaveConfig(name, perDevice, [value](EditableValue& member) { member.SetInt64(value); });
}

} // namespace zq
