// What the survey and the version look-up publish through the DLL, and when.
#include "support/win32/FakeWbem.h"
#include "support/win32/FreshDll.h"

#include <gtest/gtest.h>

#include <oleauto.h>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

class Survey : public testing::Test {
protected:
    Survey() {
        wbem.namespaces[L"root\\Cimv2"]
            .queries[L"SELECT * from Win32_NetworkAdapterConfiguration Where IPEnabled = 'TRUE'"]
            .objects = {
            {{L"IPAddress", TextsValue({L"10.0.0.1"})}, {L"Description", TextValue(L"first adapter")}},
            {{L"IPAddress", TextsValue({L"10.0.0.2"})}, {L"Description", TextValue(L"second adapter")}}};
        wbem.namespaces[L"root\\StandardCimv2"].result = E_FAIL;
    }

    FakeWbem wbem;
    FreshDll dll;
    ModuleFolders folders;
    RecordingHost host;
};

TEST_F(Survey, PublishesAddressesAndDeviceThroughTheDll) {
    Module module(dll.Create());

    module.Init(host, folders);

    EXPECT_EQ(L"10.0.0.1, 10.0.0.2", module.String(L"Server IP List"));
    EXPECT_EQ(L"first adapter", module.String(L"Server Network Device"));
}

TEST_F(Survey, NamesTheDeviceOnceInAProcessAndTheAddressesEachTime) {
    Module first(dll.Create());
    Module second(dll.Create());

    first.Init(host, folders);
    second.Init(host, folders);

    EXPECT_EQ(L"first adapter", first.String(L"Server Network Device"));
    EXPECT_EQ(std::nullopt, second.String(L"Server Network Device"));
    EXPECT_EQ(L"10.0.0.1, 10.0.0.2", second.String(L"Server IP List"));
}

TEST_F(Survey, RunsAfterTheLoadsAndBeforeTheDeviceName) {
    Module module(dll.Create());

    module.Init(host, folders);

    std::vector<std::wstring> order;
    for (const LogLine& line : host.Lines()) {
        for (const wchar_t* part :
             {L"DoInit begin", L"LoadSettingsFromFile begin.", L"LoadHmdListFromFile begin.",
              L"LoadQualityFromFile begin.", L"[WmiServiceExectue] ipaddress is 10.0.0.1", L"device name",
              L"DoInit end."}) {
            if (line.text.find(part) != std::wstring::npos) {
                order.emplace_back(part);
            }
        }
    }
    const std::vector<std::wstring> expected = {L"DoInit begin",
                                                L"LoadSettingsFromFile begin.",
                                                L"LoadHmdListFromFile begin.",
                                                L"LoadQualityFromFile begin.",
                                                L"[WmiServiceExectue] ipaddress is 10.0.0.1",
                                                L"device name",
                                                L"DoInit end."};
    EXPECT_EQ(expected, order);
}

TEST_F(Survey, PublishesTheDeviceBeforeItsMessageAndTheAddressesAfterTheirs) {
    Module module(dll.Create());
    std::optional<std::wstring> device;
    std::optional<std::wstring> addresses = L"not asked";
    int deviceLines = 0;
    host.onLog = [&](const LogLine& line) {
        if (line.text == L"[WmiServiceExectue]Network Device is first adapter") {
            ++deviceLines;
            device = deviceLines == 1 ? module.String(L"Server Network Device") : device;
        } else if (line.text == L"[WmiServiceExectue] IP Address is 10.0.0.1, 10.0.0.2") {
            addresses = module.String(L"Server IP List");
        }
    };

    module.Init(host, folders);

    EXPECT_EQ(1, deviceLines);
    EXPECT_EQ(L"first adapter", device);
    EXPECT_EQ(std::nullopt, addresses);
}

TEST_F(Survey, TheClientsVersionComesWithDoStart) {
    fs::create_directories(folders.InstallDir() / L"ZQClient");
    WriteBytes(folders.InstallDir() / L"ZQClient" / L"Version.txt", "[ProductVersion]\nVersion=4.5.6\n");
    Module module(dll.Create());
    module.Init(host, folders);
    EXPECT_EQ(std::nullopt, module.String(L"LocalClientAPKVersion"));

    module->DoStart();

    EXPECT_EQ(L"4.5.6", module.String(L"LocalClientAPKVersion"));
}

TEST_F(Survey, DefaultsAreSetFirstAndReplacedByTheFiles) {
    WriteBytes(folders.Private(kSettingsName), R"({"Settings":{"CurrentBitrate":90,"ServerName":"mine"}})");
    Module module(dll.Create());
    std::optional<int64_t> bitrate;
    host.onLog = [&](const LogLine& line) {
        if (line.text == L"LoadSettingsFromFile begin.") {
            bitrate = module.Int64(L"Settings.CurrentBitrate");
        }
    };

    module.Init(host, folders);

    EXPECT_EQ(70, bitrate);
    EXPECT_EQ(90, module.Int64(L"Settings.CurrentBitrate"));
    EXPECT_EQ(L"mine", module.String(L"Settings.ServerName"));
    EXPECT_EQ(1, module.Int64(L"Settings.PerformanceLevel"));
}

} // namespace
} // namespace zq::test
