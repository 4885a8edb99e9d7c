#include "sysinfo/WmiSurvey.h"

#include "sysinfo/SurveyFixture.h"

#include <wbemcli.h>

namespace zq::test {
namespace {

using Entries = std::vector<PublishedStrings::Entry>;
using Lines = std::vector<LogLine>;
using Calls = std::vector<std::wstring>;

const LogLine kFallbackLine{1, L"[FindIpAddress]  Network device is "};
const Entries kFallbackAddress{{L"Server IP List", L"192.168.0.1"}};

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

class WmiSurvey : public SurveyFixture {
protected:
    // The lines of a survey whose WMI part fails, or yields no address.
    void ExpectFallbackAfter(const LogLine& line) {
        EXPECT_EQ((Lines{line, kFallbackLine}), host.Lines());
        EXPECT_EQ(kFallbackAddress, published.Entries());
    }

    // The line of a physical adapter of that speed.
    std::wstring SpeedLine(FakeValue speed) {
        Physical().objects = {{{L"Speed", std::move(speed)}}};
        host.Clear();
        machine = {};
        SurveyOnNewThread();
        return host.Lines().front().text;
    }
};

TEST_F(WmiSurvey, LogsItsResultsInOrder) {
    IpEnabled().objects = {IpEnabledAdapter({L"192.168.1.10", L"fe80::1"}, L"Wired Adapter"),
                           IpEnabledAdapter({L"10.8.0.2"}, L"Tunnel")};
    Chassis().objects = {{{L"Name", TextValue(L"Enclosure")}, {L"ChassisTypes", IntegersValue(VT_I4, {3})}}};
    Graphics().objects = {{{L"PNPDeviceID", TextValue(L"PCI\\VEN_10DE&DEV_1")},
                           {L"Name", TextValue(L"Big Card")},
                           {L"DriverVersion", TextValue(L"31.0.15.3713")}}};
    Physical().objects = {
        {{L"Speed", TextValue(L"1000000000")}, {L"DriverVersionString", TextValue(L"12.19.2.45")}}};

    SurveyOnNewThread();

    EXPECT_EQ((Lines{{1, L"[WmiServiceExectue] ipaddress is 192.168.1.10"},
                     {1, L"[WmiServiceExectue]Network Device is Wired Adapter"},
                     {1, L"[WmiServiceExectue] ipaddress is 10.8.0.2"},
                     {1, L"[WmiServiceExectue]machine type:Desktop"},
                     {1, L"[WmiServiceExectue] The gpu is Big Card, driver version is 31.0.15.3713"},
                     {1, L"[WmiServiceExectue]The speed is 1000"},
                     {1, L"[WmiServiceExectue]The network adapter driver version is  12.19.2.45"},
                     {1, L"[WmiServiceExectue] IP Address is 192.168.1.10, 10.8.0.2"}}),
              host.Lines());
    EXPECT_EQ((Entries{{L"Server Network Device", L"Wired Adapter"},
                       {L"Server IP List", L"192.168.1.10, 10.8.0.2"}}),
              published.Entries());
    EXPECT_EQ("Desktop", machine.machineType);
    EXPECT_EQ("1000 Mbps", machine.networkSpeed);
    EXPECT_EQ("12.19.2.45", machine.networkDriverVersion);
    EXPECT_EQ((Calls{L"connect root\\Cimv2", std::wstring(L"query ") + kIpEnabledQuery,
                     std::wstring(L"query ") + kChassisQuery, std::wstring(L"query ") + kGraphicsQuery,
                     L"connect root\\StandardCimv2", std::wstring(L"query ") + kPhysicalQuery}),
              wbem.Calls());
    EXPECT_TRUE(adapters.lengths.empty());
}

TEST_F(WmiSurvey, ReleasesEverythingBeforeItLeavesCom) {
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.1"}, L"Wired")};

    SurveyOnNewThread();

    EXPECT_GT(wbem.MadeObjects(), 5);
    EXPECT_EQ(0, liveAtUninitialize);
    EXPECT_EQ(1, com.initializations);
    EXPECT_EQ(1, com.securityCalls);
    EXPECT_EQ(1, com.uninitializations);
    EXPECT_TRUE(com.argumentsAsExpected);
}

TEST_F(WmiSurvey, PutsTheSameBlanketOnBothServices) {
    SurveyOnNewThread();

    EXPECT_EQ(2, com.proxyBlankets);
    EXPECT_TRUE(com.argumentsAsExpected);
}

TEST_F(WmiSurvey, LeavesComBeforeItPublishesTheAddresses) {
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.1"}, L"Wired")};
    size_t linesAtUninitialize = 0;
    com.onUninitialize = [&, before = com.onUninitialize] {
        before();
        linesAtUninitialize = host.Lines().size();
    };

    SurveyOnNewThread();

    EXPECT_EQ(1U, publishedAtUninitialize); // the device
    EXPECT_EQ(2U, published.Entries().size());
    EXPECT_EQ(host.Lines().size() - 1, linesAtUninitialize);
}

// COM, security and locator

TEST_F(WmiSurvey, FallsBackAndStillLeavesComWhenComFails) {
    com.initializeResult = E_OUTOFMEMORY;

    SurveyOnNewThread();

    ExpectFallbackAfter({1, L"[WmiServiceExectue] Run CoInitializeEx failed"});
    EXPECT_EQ(1, com.uninitializations);
    EXPECT_EQ(0, com.securityCalls);
    EXPECT_EQ(0U, adapterCallsAtUninitialize);
    EXPECT_EQ(2U, adapters.lengths.size());
    EXPECT_TRUE(wbem.Calls().empty());
}

TEST_F(WmiSurvey, FallsBackWhenSecurityFails) {
    com.securityResult = static_cast<HRESULT>(0x80070005);

    SurveyOnNewThread();

    ExpectFallbackAfter({3, L"[WmiServiceExectue] Failed to initialize security. Error code = 80070005"});
    EXPECT_EQ(1, com.uninitializations);
    EXPECT_EQ(0, wbem.MadeObjects());
}

TEST_F(WmiSurvey, PadsTheErrorCodeOfSecurityToEightDigits) {
    com.securityResult = static_cast<HRESULT>(0x8000000A);
    SurveyOnNewThread();

    EXPECT_TRUE(host.Has(L"[WmiServiceExectue] Failed to initialize security. Error code = 8000000A"));
}

TEST_F(WmiSurvey, IsCompleteWhenTheHostHasSetSecurity) {
    com.securityResult = RPC_E_TOO_LATE;
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.1"}, L"Wired")};

    SurveyOnNewThread();

    EXPECT_EQ((Entries{{L"Server Network Device", L"Wired"}, {L"Server IP List", L"10.0.0.1"}}),
              published.Entries());
    EXPECT_EQ(6U, wbem.Calls().size());
}

TEST_F(WmiSurvey, FallsBackSilentlyWhenTheLocatorIsMissing) {
    wbem.locatorResult = REGDB_E_CLASSNOTREG;

    SurveyOnNewThread();

    EXPECT_EQ((Lines{kFallbackLine}), host.Lines());
    EXPECT_EQ(kFallbackAddress, published.Entries());
    EXPECT_EQ(1, com.uninitializations);
}

// Connections and queries

TEST_F(WmiSurvey, GoesOnWithTheOtherNamespaceWhenCimv2IsOutOfReach) {
    wbem.namespaces[kCimv2].result = WBEM_E_ACCESS_DENIED;
    Physical().objects = {{{L"Speed", TextValue(L"100000000")}}};

    SurveyOnNewThread();

    EXPECT_EQ((Lines{{1, L"[WmiServiceExectue] Cimv2: Connection error!"},
                     {1, L"[WmiServiceExectue]The speed is 100"},
                     kFallbackLine}),
              host.Lines());
    EXPECT_EQ("100 Mbps", machine.networkSpeed);
    EXPECT_EQ(kFallbackAddress, published.Entries());
}

TEST_F(WmiSurvey, KeepsItsAddressesWhenStandardCimv2IsOutOfReach) {
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.1"}, L"Wired")};
    wbem.namespaces[kStandardCimv2].result = WBEM_E_INVALID_NAMESPACE;

    SurveyOnNewThread();

    EXPECT_TRUE(host.Has(L"[WmiServiceExectue] StandardCimv2: Connection error!"));
    EXPECT_EQ((PublishedStrings::Entry{L"Server IP List", L"10.0.0.1"}), published.Entries().back());
    EXPECT_EQ("", machine.networkSpeed);
}

TEST_F(WmiSurvey, TreatsAConnectionWithoutAServiceAsFailed) {
    wbem.namespaces[kCimv2].withoutService = true;
    wbem.namespaces[kStandardCimv2].withoutService = true;

    SurveyOnNewThread();

    EXPECT_EQ((Lines{{1, L"[WmiServiceExectue] Cimv2: Connection error!"},
                     {1, L"[WmiServiceExectue] StandardCimv2: Connection error!"},
                     kFallbackLine}),
              host.Lines());
}

TEST_F(WmiSurvey, GoesOnAfterEachFailingQuery) {
    for (FakeQuery* query : {&IpEnabled(), &Chassis(), &Graphics(), &Physical()}) {
        query->result = WBEM_E_INVALID_CLASS;
    }

    SurveyOnNewThread();

    EXPECT_EQ((Lines{{1, L"[WmiServiceExectue] Win32_NetworkAdapterConfiguration: Error executing query!"},
                     {1, L"[WmiServiceExectue] Win32_SystemEnclosure: Error executing query!"},
                     {1, L"[WmiServiceExectue] Win32_VideoController: Error executing query!"},
                     {1, L"[WmiServiceExectue] GetNetwrokInfo: Error executing query!"},
                     kFallbackLine}),
              host.Lines());
    EXPECT_EQ(kFallbackAddress, published.Entries());
    EXPECT_EQ(6U, wbem.Calls().size());
}

TEST_F(WmiSurvey, LosesOnlyWhatOneFailingQueryHolds) {
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.1"}, L"Wired")};
    Chassis().result = WBEM_E_FAILED;
    Graphics().objects = {{{L"PNPDeviceID", TextValue(L"PCI")}}};
    Physical().withoutEnumerator = true;

    SurveyOnNewThread();

    EXPECT_EQ((Lines{{1, L"[WmiServiceExectue] ipaddress is 10.0.0.1"},
                     {1, L"[WmiServiceExectue]Network Device is Wired"},
                     {1, L"[WmiServiceExectue] Win32_SystemEnclosure: Error executing query!"},
                     {1, L"[WmiServiceExectue] The gpu is NA, driver version is 0.0.0.0"},
                     {1, L"[WmiServiceExectue] GetNetwrokInfo: Error executing query!"},
                     {1, L"[WmiServiceExectue] IP Address is 10.0.0.1"}}),
              host.Lines());
}

TEST_F(WmiSurvey, KeepsWhatCameBeforeAnEnumerationFailed) {
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.1"}, L"Wired")};
    Chassis().objects = {{{L"ChassisTypes", IntegersValue(VT_I4, {9})}}};
    for (FakeQuery* query : {&IpEnabled(), &Chassis(), &Graphics(), &Physical()}) {
        query->end = WBEM_E_TRANSPORT_FAILURE;
    }

    SurveyOnNewThread();

    EXPECT_EQ((Lines{{1, L"[WmiServiceExectue] ipaddress is 10.0.0.1"},
                     {1, L"[WmiServiceExectue]Network Device is Wired"},
                     {1, L"[WmiServiceExectue]machine type:Laptop"},
                     {1, L"[WmiServiceExectue] IP Address is 10.0.0.1"}}),
              host.Lines());
}

// IP-enabled adapters

TEST_F(WmiSurvey, FallsBackWithoutAnIpEnabledAdapter) {
    adapters.adapters = {{"Fallback Adapter", "172.16.0.9"}};

    SurveyOnNewThread();

    EXPECT_EQ((Lines{{1, L"[FindIpAddress] IP Address is 172.16.0.9"},
                     {1, L"[FindIpAddress]  Network device is Fallback Adapter"}}),
              host.Lines());
    EXPECT_EQ((Entries{{L"Server IP List", L"172.16.0.9"}}), published.Entries());
    EXPECT_TRUE(networkDevicePending);
}

TEST_F(WmiSurvey, KeepsAFirstAddressOfVersion6AsIs) {
    IpEnabled().objects = {IpEnabledAdapter({L"fe80::c0de:1", L"10.0.0.1"}, L"Wired"),
                           IpEnabledAdapter({L"10.0.0.2"}, L"Wireless")};

    SurveyOnNewThread();

    EXPECT_EQ((PublishedStrings::Entry{L"Server IP List", L"fe80::c0de:1, 10.0.0.2"}),
              published.Entries().back());
}

TEST_F(WmiSurvey, SkipsAdaptersWhoseAddressCannotBeRead) {
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

TEST_F(WmiSurvey, NamesTheDeviceOfAnAdapterWithoutAnAddress) {
    IpEnabled().objects = {{{L"Description", TextValue(L"Silent Adapter")}}};

    SurveyOnNewThread();

    EXPECT_EQ((Entries{{L"Server Network Device", L"Silent Adapter"}, {L"Server IP List", L"192.168.0.1"}}),
              published.Entries());
}

TEST_F(WmiSurvey, NamesTheFirstDeviceThatHasADescription) {
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

TEST_F(WmiSurvey, NamesTheDeviceOnceInTheLifeOfTheProcess) {
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.1"}, L"Wired")};
    SurveyOnNewThread();
    published.Clear();
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.2"}, L"Wireless")};

    SurveyOnNewThread();

    EXPECT_EQ((Entries{{L"Server IP List", L"10.0.0.2"}}), published.Entries());
    EXPECT_FALSE(host.Has(L"[WmiServiceExectue]Network Device is Wireless"));
}

TEST_F(WmiSurvey, LetsALaterSurveyNameTheDeviceWhenTheFirstFoundNone) {
    SurveyOnNewThread();
    published.Clear();
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.2"}, L"Wireless")};

    SurveyOnNewThread();

    EXPECT_EQ((PublishedStrings::Entry{L"Server Network Device", L"Wireless"}), published.Entries().front());
}

TEST_F(WmiSurvey, PublishesADescriptionBeyondTheAnsiCodePageWhole) {
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.1"}, L"Adapter \x7DB2\x8DEF")};

    SurveyOnNewThread();

    EXPECT_EQ((PublishedStrings::Entry{L"Server Network Device", L"Adapter \x7DB2\x8DEF"}),
              published.Entries().front());
    EXPECT_TRUE(host.Has(L"[WmiServiceExectue]Network Device is Adapter \x7DB2\x8DEF"));
}

// Chassis

TEST_F(WmiSurvey, KnowsEveryChassisName) {
    for (int64_t code = 1; code <= 24; ++code) {
        Chassis().objects = {{{L"ChassisTypes", IntegersValue(VT_UI2, {code})}}};
        host.Clear();

        SurveyOnNewThread();

        const std::wstring name = kChassisNames[code - 1];
        EXPECT_EQ((Lines{{1, L"[WmiServiceExectue]machine type:" + name}, kFallbackLine}), host.Lines());
        EXPECT_EQ(std::string(name.begin(), name.end()), machine.machineType);
    }
}

TEST_F(WmiSurvey, LeavesTheMachineTypeForCodesOutsideTheTable) {
    Chassis().objects = {{{L"ChassisTypes", IntegersValue(VT_I4, {0, 25, -1, INT32_MAX, INT32_MIN})}}};
    SurveyOnNewThread();
    EXPECT_EQ(5, host.Count(L"[WmiServiceExectue]machine type:"));
    EXPECT_EQ("", machine.machineType);

    host.Clear();
    Chassis().objects = {{{L"ChassisTypes", IntegersValue(VT_I4, {10, 36})}}};
    SurveyOnNewThread();
    EXPECT_EQ(2, host.Count(L"[WmiServiceExectue]machine type:Notebook"));
}

TEST_F(WmiSurvey, KeepsTheLastChassisOfAllEnclosures) {
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

TEST_F(WmiSurvey, LogsEachGraphicsAdapterThatHasAnId) {
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

TEST_F(WmiSurvey, GivesTheSpeedInWholeMegabits) {
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 1000", SpeedLine(TextValue(L"1000000000")));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 866", SpeedLine(TextValue(L"866700000")));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 0", SpeedLine(TextValue(L"999999")));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 0", SpeedLine(TextValue(L"")));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 0", SpeedLine(TextValue(L"unknown")));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is -1", SpeedLine(TextValue(L"-1500000")));
    EXPECT_EQ("-1 Mbps", machine.networkSpeed);
}

TEST_F(WmiSurvey, SaturatesSpeedsFrom10GigabitsOn) {
    for (const wchar_t* speed : {L"2147483647", L"10000000000", L"25000000000", L"18446744073709551615"}) {
        EXPECT_EQ(L"[WmiServiceExectue]The speed is 2147", SpeedLine(TextValue(speed))) << speed;
        EXPECT_EQ("2147 Mbps", machine.networkSpeed);
    }
}

TEST_F(WmiSurvey, ReadsASpeedThatIsAnInteger) {
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 100", SpeedLine(IntegerValue(VT_I4, 100'000'000)));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 2147", SpeedLine(IntegerValue(VT_UI4, 2'500'000'000)));
    EXPECT_EQ(L"[WmiServiceExectue]The speed is 2147", SpeedLine(IntegerValue(VT_UI8, 25'000'000'000)));
}

TEST_F(WmiSurvey, KeepsTheLastPhysicalAdaptersValues) {
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

TEST_F(WmiSurvey, LogsTextsAsTheAnsiCodePageKeepsThem) {
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

// Observation and exceptions

TEST_F(WmiSurvey, ShowsItsObserverAllFourQueries) {
    std::vector<std::wstring> queries;
    observe = [&](const WmiQueryReport& report) { queries.emplace_back(report.query); };

    SurveyOnNewThread();

    EXPECT_EQ((std::vector<std::wstring>{kIpEnabledQuery, kChassisQuery, kGraphicsQuery, kPhysicalQuery}),
              queries);
}

TEST_F(WmiSurvey, LeavesComWithNothingHeldWhenPublishingTheDeviceFails) {
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.1"}, L"Wired")};
    const StringPublisher refuse = [](const wchar_t*, const std::wstring&) { throw 1; };

    EXPECT_THROW(RunOnNewThread([&] { WmiServiceExectue(log, refuse, machine); }), int);

    EXPECT_EQ(0, liveAtUninitialize);
    EXPECT_EQ(1, com.uninitializations);
    EXPECT_TRUE(networkDevicePending);
    EXPECT_EQ((Lines{{1, L"[WmiServiceExectue] ipaddress is 10.0.0.1"}}), host.Lines());
}

TEST_F(WmiSurvey, LetsAnExceptionOfTheLastPublicationThrough) {
    IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.1"}, L"")};
    const StringPublisher refuse = [](const wchar_t*, const std::wstring&) { throw 1; };

    EXPECT_THROW(RunOnNewThread([&] { WmiServiceExectue(log, refuse, machine); }), int);
    IpEnabled().objects.clear();
    EXPECT_THROW(RunOnNewThread([&] { WmiServiceExectue(log, refuse, machine); }), int);

    EXPECT_EQ(2, com.uninitializations);
}

} // namespace
} // namespace zq::test
