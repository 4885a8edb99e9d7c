#include "module/DefaultSettings.h"

#include "variables/VariableBatch.h"
#include "variables/VariableStore.h"

#include <array>
#include <string_view>
#include <utility>

#include <windows.h>

namespace zq {

namespace {

// Includes the terminator: a computer name of 15 characters does not fit, and the default stays.
constexpr DWORD kComputerNameBuffer = 15;

} // namespace

void LoadDefaultSettings(VariableStore& store) {
    std::array<wchar_t, kComputerNameBuffer> name{};
    DWORD length = kComputerNameBuffer;
    const bool isNamed = GetComputerNameW(name.data(), &length) != 0;

    VariableBatch batch;
    batch.AddInt64(L"Settings.PerformanceLevel", 1);
    batch.AddBool(L"Settings.EnableDashboard", 1);
    batch.AddInt64(L"Settings.CurrentBitrate", 70);
    batch.AddString(L"Settings.ServerName",
                    isNamed ? std::wstring_view(name.data(), length) : L"Lumo Server");
    batch.AddString(L"Properties.BitrateList", L"20,40,70,76,100");
    store.Apply(std::move(batch));
}

} // namespace zq
