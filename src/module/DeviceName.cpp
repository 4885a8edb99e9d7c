// The name of the headset in use.
#include "module/CZQModSettingsImpl.h"

#include <array>
#include <string>

namespace zq {

namespace {

constexpr int32_t kNameBuffer = 256;

} // namespace

void CZQModSettingsImpl::UpdateDefaultDeviceName() {
    std::array<wchar_t, kNameBuffer> name{L"MERIN5"};
    const wchar_t* message = L"Use default device name %s because get DHI failed";
    int64_t index = 0;
    if (m_store.GetInt64(L"DHI", &index)) {
        const std::wstring variable = L"HmdNameList." + std::to_wstring(static_cast<int32_t>(index));
        message = m_store.GetString(variable.c_str(), name.data(), kNameBuffer)
                      ? L"Get device name %s"
                      : L"Use default device name %s because get HmdNameList failed";
    }
    m_log.Log(LogProgress, message, name.data());
    SetVariableString(L"DefaultDeviceName", name.data(), nullptr, 0);
}

} // namespace zq
