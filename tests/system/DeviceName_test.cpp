// The name of the headset in use, and the five default settings.
#include "support/win32/ImportPatch.h"
#include "support/win32/Module.h"

#include <atomic>
#include <cwchar>
#include <gtest/gtest.h>

#include <windows.h>

namespace zq::test {
namespace {

class DeviceName : public testing::Test {
protected:
    void InitWith(const char* settings) {
        WriteBytes(folders.Private(kSettingsName), settings);
        module.Init(host, folders);
    }

    ModuleFolders folders;
    RecordingHost host;
    Module module;
};

TEST_F(DeviceName, IsTheFixedNameWithoutADeviceIndex) {
    InitWith(R"({"CL":[{"HD":"ALPHA1"}]})");

    EXPECT_EQ(L"MERIN5", module.String(L"DefaultDeviceName"));
    EXPECT_TRUE(host.Has(L"Use default device name MERIN5 because get DHI failed"));
}

TEST_F(DeviceName, IsTheFixedNameWhenTheIndexIsBeyondTheList) {
    InitWith(R"({"DHI":2,"CL":[{"HD":"ALPHA1"},{"HD":"BETA2"}]})");

    EXPECT_EQ(L"MERIN5", module.String(L"DefaultDeviceName"));
    EXPECT_TRUE(host.Has(L"Use default device name MERIN5 because get HmdNameList failed"));
}

TEST_F(DeviceName, IsTheNameAtTheIndex) {
    InitWith(R"({"DHI":1,"CL":[{"HD":"ALPHA1"},{"HD":"BETA2"}]})");

    EXPECT_EQ(L"BETA2", module.String(L"DefaultDeviceName"));
    EXPECT_TRUE(host.Has(L"Get device name BETA2"));
}

TEST_F(DeviceName, TakesTheLow32BitsOfTheIndexAsSigned) {
    InitWith(R"({"DHI":4294967295,"HmdNameList":{"-1":"MINUS"}})");

    EXPECT_EQ(L"MINUS", module.String(L"DefaultDeviceName"));
}

TEST_F(DeviceName, OfMoreThan255CharactersIsNotUsed) {
    const std::string longest(255, 'x');
    InitWith((R"({"DHI":0,"CL":[{"HD":")" + longest + R"("}]})").c_str());
    EXPECT_EQ(std::wstring(255, L'x'), module.String(L"DefaultDeviceName"));

    InitWith((R"({"DHI":0,"CL":[{"HD":")" + longest + R"(x"}]})").c_str());
    EXPECT_EQ(L"MERIN5", module.String(L"DefaultDeviceName"));
}

// A host that counts notices of one variable.
class CountingListener final : public CZQVariableHost {
public:
    void OnVariableChanged(const wchar_t* name, uint32_t type, CZQVariableHost*) override {
        if (std::wstring(L"DefaultDeviceName") == name && type == VariableTypeString) {
            ++notices;
        }
        if (std::wstring(L"Last") == name) {
            SetEvent(last);
        }
    }
    void OnVariablesReloaded() override {}

    std::atomic<int> notices{0};
    HANDLE last = CreateEventW(nullptr, FALSE, FALSE, nullptr);
};

TEST_F(DeviceName, SetAgainUnchangedCausesNoNotice) {
    InitWith("{}");
    CountingListener listener;
    module.Variables().RegisterHost(&listener);

    module->UpdateDefaultDeviceName();
    module.Variables().SetVariableInt64(L"Last", 1, nullptr, 0);

    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(listener.last, 10'000));
    EXPECT_EQ(0, listener.notices);
    EXPECT_EQ(2, host.Count(L"Use default device name MERIN5 because get DHI failed"));
    module.Variables().UnregisterHost(&listener);
    CloseHandle(listener.last);
}

TEST_F(DeviceName, DefaultSettingsApplyIfNoFileHasThem) {
    InitWith("{}");

    EXPECT_EQ(1, module.Int64(L"Settings.PerformanceLevel"));
    EXPECT_EQ(std::nullopt, module.Double(L"Settings.PerformanceLevel"));
    EXPECT_EQ(1, module.Bool(L"Settings.EnableDashboard"));
    EXPECT_EQ(70, module.Int64(L"Settings.CurrentBitrate"));
    EXPECT_EQ(L"20,40,70,76,100", module.String(L"Properties.BitrateList"));
}

TEST_F(DeviceName, DefaultSettingsAreReplacedByTheFile) {
    InitWith(R"({"Settings":{"CurrentBitrate":100,"EnableDashboard":false,"ServerName":"Mine"}})");

    EXPECT_EQ(100, module.Int64(L"Settings.CurrentBitrate"));
    EXPECT_EQ(0, module.Bool(L"Settings.EnableDashboard"));
    EXPECT_EQ(L"Mine", module.String(L"Settings.ServerName"));
}

// A computer of a given name, as the system reports it: into a buffer that also has room for the terminator.
const wchar_t* computerName = nullptr;

BOOL WINAPI ReportComputerName(LPWSTR buffer, LPDWORD size) {
    const auto length = static_cast<DWORD>(std::wcslen(computerName));
    if (*size <= length) {
        *size = length + 1;
        SetLastError(ERROR_BUFFER_OVERFLOW);
        return FALSE;
    }
    std::wcscpy(buffer, computerName);
    *size = length;
    return TRUE;
}

class ServerName : public DeviceName {
protected:
    void InitOn(const wchar_t* computer, const char* settings) {
        computerName = computer;
        const ImportPatch patch(LoadModuleDll(), "kernel32.dll", "GetComputerNameW",
                                AsProc(ReportComputerName));
        InitWith(settings);
    }
};

TEST_F(ServerName, IsTheNameOfAComputerWithEightCharacters) {
    InitOn(L"EIGHTCHR", "{}");

    EXPECT_EQ(L"EIGHTCHR", module.String(L"Settings.ServerName"));
}

TEST_F(ServerName, IsTheNameOfAComputerWithFourteenCharacters) {
    InitOn(L"FOURTEENCHARSX", "{}");

    EXPECT_EQ(L"FOURTEENCHARSX", module.String(L"Settings.ServerName"));
}

TEST_F(ServerName, IsTheFixedNameOnAComputerWithFifteenCharacters) {
    InitOn(L"FIFTEENCHARSXYZ", "{}");

    EXPECT_EQ(L"Lumo Server", module.String(L"Settings.ServerName"));
}

TEST_F(ServerName, IsReplacedByTheFileOnAnyComputer) {
    InitOn(L"EIGHTCHR", R"({"Settings":{"ServerName":"Mine"}})");

    EXPECT_EQ(L"Mine", module.String(L"Settings.ServerName"));
}

} // namespace
} // namespace zq::test
