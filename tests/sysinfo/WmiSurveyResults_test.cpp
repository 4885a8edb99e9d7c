// What a survey makes of the adapters, chassis and graphics that it finds.
#include "sysinfo/WmiSurvey.h"

#include "sysinfo/SurveyFixture.h"

#include <wbemcli.h>

namespace zq::test {
namespace {

const wchar_t* const kChassisNames[] = {
    L"Other",
    L"Unknown",
    L"Desktop",
    L"Low Profile Desktop",
    L"Pizza Box",
    L"Mini Tower",
    L"Tower",
    L"Portable",
    L"Laptop",
    L"Notebook",
    L"Hand Held",
    L"Docking Station",
    L"All in One",
    L"Sub Notebook",
    L"Space-Saving",
    L"Lunch Box",
    L"Main System Chassis",
    L"Expansion Chassis",
    L"SubChassis",
    L"Bus Expansion Chassis",
    L"Peripheral Chassis",
    L"Storage Chassis",
    L"Rack Mount Chassis",
    L"Sealed-Case PC",
};

class WmiSurveyResults : public SurveyFixture {
protected:
    // The line of a physical adapter of that speed.
    std::wstring SpeedLine(FakeValue speed) {
        Physical().objects = {{{L"Speed", std::move(speed)}}};
        host.Clear();
        machine = {};
        SurveyOnNewThread();
        return host.Lines().front().text;
    }
};

// IP-enabled adapters

TEST_F(WmiSurveyResults, FallsBackWithoutAnIpEnabledAdapter) {
    adapters.adapters = {{"Fallback Adapter", "172.16.0.9"}};

    SurveyOnNewThread();

    EXPECT_EQ((Lines{{1, L"[FindIpAddress] IP Address is 172.16.0.9"},
                     {1, L"[FindIpAddress]  Network device is Fallback Adapter"}}),
              host.Lines());
    EXPECT_EQ((Entries{{L"Server IP List", L"172.16.0.9"}}), published.Entries());
    EXPECT_TRUE(networkDevicePending);
}

TEST_F(WmiSurveyResults, KeepsAFirstAddressOfVersion6AsIs) {
    IpEnabled().objects = {IpEnabledAdapter({L"fe80::c0de:1", L"10.0.0.1"}, L"Wired"),
                           IpEnabledAdapter({L"10.0.0.2"}, L"Wireless")};

    SurveyOnNewThread();

    EXPECT_EQ((PublishedStrings::Entry{L"Server IP List", L"fe80::c0de:1, 10.0.0.2"}),
              published.Entries().back());
}

TEST_F(WmiSurveyResults, SkipsAdaptersWhoseAddressCannotBeRead) {
    IpEnabled().objects = {
        {{L"IPAddress", NullValue()}},
        {},
        {{L"IPAddress", TextValue(L"10.0.0.1")}},
        {{L"IPAddress", IntegersValue(VT_I4, {10})}},
        {{L"IPAddress", TextsValue({})}},
        {{L"IPAddress", TextsValue({std::nullopt, L"10.0.0.2"})}},
        {{L"IPAddress", FailingValue(WBEM_E_ACCESS_DENIED)}},
        {{L"IPAddress", TextsValue({L"10.0.0.3", L"10.0.0.4"}, 1)}},
    };

    SurveyOnNewThread();

    EXPECT_EQ((Lines{{1, L"[WmiServiceExectue] ipaddress is 10.0.0.3"},
                     {1, L"[WmiServiceExectue] IP Address is 10.0.0.3"}}),
              host.Lines());
}

TEST_F(WmiSurveyResults, NamesTheDeviceOfAnAdapterWithoutAnAddress) {
    IpEnabled().objects = {{{L"Description", TextValue(L"Silent Adapter")}}};

    SurveyOnNewThread();

    EXPECT_EQ((Entries{{L"Server Network Device", L"Silent Adapter"}, {L"Server IP List", L"192.168.0.1"}}),
              published.Entries());
}

TEST_F(WmiSurveyResults, NamesTheFirstDeviceThatHasADescription) {
    IpEnabled().objects = {
        {{L"Description", NullValue()}},         {{L"Description", TextValue(L"")}},
        {{L"Description", NullTextValue()}},     {{L"Description", IntegerValue(VT_I4, 4)}},
        {{L"Description", TextValue(L"Fifth")}}, {{L"Description", TextValue(L"Sixth")}}};

    SurveyOnNewThread();

    EXPECT_EQ((PublishedStrings::Entry{L"Server Network Device", L"Fifth"}), published.Entries().front());
    EXPECT_EQ(1, host.Count(L"[WmiServiceExectue]Network Device is Fifth"));
    EXPECT_EQ(2U, published.Entries().size());
    EXPECT_FALSE(networkDevicePending);
}

TEST_F(WmiSurveyResults, NamesTheDeviceOnceInTheLifeOfTheProcess) {
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.1"}, L"Wired")};
    SurveyOnNewThread();
    published.Clear();
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.2"}, L"Wireless")};

    SurveyOnNewThread();

    EXPECT_EQ((Entries{{L"Server IP List", L"10.0.0.2"}}), published.Entries());
    EXPECT_FALSE(host.Has(L"[WmiServiceExectue]Network Device is Wireless"));
}

TEST_F(WmiSurveyResults, LetsALaterSurveyNameTheDeviceWhenTheFirstFoundNone) {
    SurveyOnNewThread();
    published.Clear();
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.2"}, L"Wireless")};

    SurveyOnNewThread();

    EXPECT_EQ((PublishedStrings::Entry{L"Server Network Device", L"Wireless"}), published.Entries().front());
}

TEST_F(WmiSurveyResults, PublishesADescriptionBeyondTheAnsiCodePageWhole) {
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.1"}, L"Adapter \x7DB2\x8DEF")};

    SurveyOnNewThread();

    EXPECT_EQ((PublishedStrings::Entry{L"Server Network Device", L"Adapter \x7DB2\x8DEF"}),
              published.Entries().front());
    EXPECT_TRUE(host.Has(L"[WmiServiceExectue]Network Device is Adapter \x7DB2\x8DEF"));
}

// Chassis

TEST_F(WmiSurveyResults, KnowsEveryChassisName) {
    for (int64_t code = 1; code <= 24; ++code) {
        Chassis().objects = {{{L"ChassisTypes", IntegersValue(VT_UI2, {code})}}};
        host.Clear();

        SurveyOnNewThread();

        const std::wstring name = kChassisNames[code - 1];
        EXPECT_EQ((Lines{{1, L"[WmiServiceExectue]machine type:" + name}, kFallbackLine}), host.Lines());
        EXPECT_EQ(std::string(name.begin(), name.end()), machine.machineType);
    }
}

TEST_F(WmiSurveyResults, LeavesTheMachineTypeForCodesOutsideTheTable) {
    Chassis().objects = {{{L"ChassisTypes", IntegersValue(VT_I4, {0, 25, -1, INT32_MAX, INT32_MIN})}}};
    SurveyOnNewThread();
    EXPECT_EQ(5, host.Count(L"[WmiServiceExectue]machine type:"));
    EXPECT_EQ("", machine.machineType);

    host.Clear();
    Chassis().objects = {{{L"ChassisTypes", IntegersValue(VT_I4, {10, 36})}}};
    SurveyOnNewThread();
    EXPECT_EQ(2, host.Count(L"[WmiServiceExectue]machine type:Notebook"));
}

TEST_F(WmiSurveyResults, KeepsTheLastChassisOfAllEnclosures) {
    Chassis().objects = {{{L"ChassisTypes", IntegersValue(VT_I4, {3, 12}, 5)}},
                         {{L"ChassisTypes", IntegersValue(VT_I2, {24}, -3)}},
                         {{L"ChassisTypes", NullValue()}},
                         {{L"ChassisTypes", TextsValue({L"9"})}},
                         {{L"ChassisTypes", IntegerValue(VT_I4, 9)}},
                         {}};

    SurveyOnNewThread();

    EXPECT_EQ((Lines{{1, L"[WmiServiceExectue]machine type:Desktop"},
                     {1, L"[WmiServiceExectue]machine type:Docking Station"},
                     {1, L"[WmiServiceExectue]machine type:Sealed-Case PC"},
                     kFallbackLine}),
              host.Lines());
    EXPECT_EQ("Sealed-Case PC", machine.machineType);
}

// Graphics

TEST_F(WmiSurveyResults, LogsEachGraphicsAdapterThatHasAnId) {
    Graphics().objects = {{{L"PNPDeviceID", TextValue(L"PCI\\VEN_1002")}, {L"Name", TextValue(L"Card A")}},
                          {{L"Name", TextValue(L"No Id")}, {L"DriverVersion", TextValue(L"1.0")}},
                          {{L"PNPDeviceID", TextValue(L"")}, {L"DriverVersion", TextValue(L"2.0")}}};

    SurveyOnNewThread();

    EXPECT_EQ((Lines{{1, L"[WmiServiceExectue] The gpu is Card A, driver version is 0.0.0.0"},
                     {1, L"[WmiServiceExectue] The gpu is NA, driver version is 2.0"},
                     kFallbackLine}),
              host.Lines());
    EXPECT_EQ(kFallbackAddress, published.Entries());
}

// Physical adapters

TEST_F(WmiSurveyResults, GivesTheSpeedInWholeMegabits) {
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 1000", SpeedLine(TextValue(L"1000000000")));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 866", SpeedLine(TextValue(L"866700000")));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 0", SpeedLine(TextValue(L"999999")));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 0", SpeedLine(TextValue(L"")));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 0", SpeedLine(TextValue(L"unknown")));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is -1", SpeedLine(TextValue(L"-1500000")));
    EXPECT_EQ("-1 Mbps", machine.networkSpeed);
}

TEST_F(WmiSurveyResults, SaturatesSpeedsFrom10GigabitsOn) {
    for (const wchar_t* speed : {L"2147483647", L"10000000000", L"25000000000", L"18446744073709551615"}) {
        EXPECT_EQ(L"[WmiServiceExectue]The speed is 2147", SpeedLine(TextValue(speed))) << speed;
        EXPECT_EQ("2147 Mbps", machine.networkSpeed);
    }
}

TEST_F(WmiSurveyResults, ReadsASpeedThatIsAnInteger) {
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 100", SpeedLine(IntegerValue(VT_I4, 100'000'000)));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 2147", SpeedLine(IntegerValue(VT_UI4, 2'500'000'000)));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 2147", SpeedLine(IntegerValue(VT_UI8, 25'000'000'000)));
}

TEST_F(WmiSurveyResults, KeepsTheLastPhysicalAdaptersValues) {
    Physical().objects = {
        {{L"Speed", TextValue(L"1000000000")}, {L"DriverVersionString", TextValue(L"1.0")}},
        {{L"Speed", NullValue()}, {L"DriverVersionString", TextValue(L"2.0")}},
        {{L"Speed", TextValue(L"300000000")}, {L"DriverVersionString", IntegerValue(VT_I4, 3)}}};

    SurveyOnNewThread();

    EXPECT_EQ((Lines{{1, L"[WmiServiceExectue]The speed is 1000"},
                     {1, L"[WmiServiceExectue]The network adapter driver version is  1.0"},
                     {1, L"[WmiServiceExectue]The network adapter driver version is  2.0"},
                     {1, L"[WmiServiceExectue]The speed is 300"},
                     kFallbackLine}),
              host.Lines());
    EXPECT_EQ("300 Mbps", machine.networkSpeed);
    EXPECT_EQ("2.0", machine.networkDriverVersion);
}

TEST_F(WmiSurveyResults, LogsTextsAsTheAnsiCodePageKeepsThem) {
    Physical().objects = {{{L"DriverVersionString", TextValue(L"v\x00E9 \x7DB2")}}};
    char narrow[16] = {};
    WideCharToMultiByte(CP_ACP, 0, L"v\x00E9 \x7DB2", -1, narrow, sizeof(narrow), nullptr, nullptr);
    wchar_t wide[16] = {};
    MultiByteToWideChar(CP_ACP, 0, narrow, -1, wide, 16);

    SurveyOnNewThread();

    EXPECT_EQ(narrow, machine.networkDriverVersion);
    EXPECT_EQ(std::wstring(L"[WmiServiceExectue]The network adapter driver version is  ") + wide,
              host.Lines().front().text);
}

} // namespace
} // namespace zq::test
