// A survey from beginning to end: its order, COM, connections and queries, who observes it, exceptions.
#include "sysinfo/WmiSurvey.h"

#include "sysinfo/SurveyFixture.h"

#include <wbemcli.h>

namespace zq::test {
namespace {

using Calls = std::vector<std::wstring>;

class WmiSurvey : public SurveyFixture {
protected:
    // The lines of a survey whose WMI part fails, or yields no address.
    void ExpectFallbackAfter(const LogLine& line) {
        EXPECT_EQ((Lines{line, kFallbackLine}), host.Lines());
        EXPECT_EQ(kFallbackAddress, published.Entries());
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