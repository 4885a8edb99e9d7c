#include "sysinfo/AddressDiscovery.h"

#include "base/HostLog.h"
#include "support/RecordingHost.h"
#include "support/win32/FakeAdapters.h"
#include "sysinfo/PublishedStrings.h"

#include <gtest/gtest.h>

#include <winsock2.h>

namespace zq::test {
namespace {

using Entries = std::vector<PublishedStrings::Entry>;
using Lines = std::vector<LogLine>;

constexpr ULONG kOneAdapter = 704;

class AddressDiscovery : public testing::Test {
protected:
    AddressDiscovery() { log.SetHost(&host); }

    void Find() { FindIpAddress(log, published.Publisher()); }

    FakeAdapters system;
    RecordingHost host;
    HostLog log;
    PublishedStrings published;
};

TEST_F(AddressDiscovery, TakesOnlyTheFirstAddressOfTheDhcpAdapter) {
    system.adapters = {{"Ethernet", "192.168.7.20", true, "192.168.7.1", "192.168.7.21"},
                       {"Static", "172.16.0.5", false, "192.168.7.1"}};

    Find();

    EXPECT_EQ((Entries{{L"Server IP List", L"192.168.7.20"}}), published.Entries());
    EXPECT_EQ((Lines{{1, L"[FindIpAddress] IP Address is 192.168.7.20"},
                     {1, L"[FindIpAddress]  Network device is Ethernet"}}),
              host.Lines());
}

TEST_F(AddressDiscovery, JoinsTheAddressesInListOrderAndNamesTheFirstDevice) {
    system.adapters = {{"Wireless", "10.0.0.7"}, {"Static", "1.2.3.4", false}, {"Wired", "10.0.0.9"}};

    Find();

    EXPECT_EQ((Entries{{L"Server IP List", L"10.0.0.7, 10.0.0.9"}}), published.Entries());
    EXPECT_EQ((Lines{{1, L"[FindIpAddress] IP Address is 10.0.0.7, 10.0.0.9"},
                     {1, L"[FindIpAddress]  Network device is Wireless"}}),
              host.Lines());
}

TEST_F(AddressDiscovery, NamesTheNextDeviceWhenTheFirstHasNoName) {
    system.adapters = {{"", "10.0.0.7"}, {"Wired", "10.0.0.9"}};

    Find();

    EXPECT_TRUE(host.Has(L"[FindIpAddress]  Network device is Wired"));
}

TEST_F(AddressDiscovery, SkipsAdaptersWithoutADhcpServer) {
    system.adapters = {{"Zero", "10.0.0.1", true, "0.0.0.0"},
                       {"Empty", "10.0.0.2", true, ""},
                       {"Longer", "10.0.0.3", true, "0.0.0.01"},
                       {"Shorter", "10.0.0.4", true, "0.0.0."}};

    Find();

    EXPECT_EQ((Entries{{L"Server IP List", L"10.0.0.3, 10.0.0.4"}}), published.Entries());
    EXPECT_TRUE(host.Has(L"[FindIpAddress]  Network device is Longer"));
}

TEST_F(AddressDiscovery, PublishesTheFixedAddressWhenNoAdapterQualifies) {
    system.adapters = {{"Static", "172.16.0.5", false}};

    Find();

    EXPECT_EQ((Entries{{L"Server IP List", L"192.168.0.1"}}), published.Entries());
    EXPECT_EQ((Lines{{1, L"[FindIpAddress]  Network device is "}}), host.Lines());
}

TEST_F(AddressDiscovery, PublishesTheFixedAddressWithoutAnyAdapter) {
    Find();

    EXPECT_EQ((Entries{{L"Server IP List", L"192.168.0.1"}}), published.Entries());
}

TEST_F(AddressDiscovery, AsksTwiceForOneAdapterAndOnceMoreWithTheReportedLength) {
    system.adapters = {{"Only", "10.0.0.7"}};
    Find();
    EXPECT_EQ((std::vector<ULONG>{kOneAdapter, kOneAdapter}), system.lengths);

    system.lengths.clear();
    system.adapters.resize(5, {"More", "10.0.0.8"});
    Find();
    EXPECT_EQ((std::vector<ULONG>{kOneAdapter, 5 * kOneAdapter}), system.lengths);
}

TEST_F(AddressDiscovery, SaysNothingWhenTheSecondCallFails) {
    for (const ULONG error : {ERROR_BUFFER_OVERFLOW, ERROR_NO_DATA, ERROR_NOT_SUPPORTED}) {
        system.adapters = {{"Only", "10.0.0.7"}};
        system.errors = {{0, error}, {1, error}};
        system.lengths.clear();

        Find();

        EXPECT_EQ(2U, system.lengths.size());
    }
    EXPECT_TRUE(published.Entries().empty());
    EXPECT_TRUE(host.Lines().empty());
}

TEST_F(AddressDiscovery, SaysNothingWhenOnlyTheSecondCallFails) {
    system.adapters = {{"Only", "10.0.0.7"}};
    system.errors = {{1, ERROR_BUFFER_OVERFLOW}};

    Find();

    EXPECT_TRUE(published.Entries().empty());
    EXPECT_TRUE(host.Lines().empty());
}

TEST_F(AddressDiscovery, SurvivesAnOddReportedLength) {
    for (const ULONG length : {0U, 1U, 703U}) {
        system.errors = {{0, ERROR_NO_DATA}};
        system.reportedLengths = {{0, length}};
        system.lengths.clear();

        Find();

        EXPECT_EQ((std::vector<ULONG>{kOneAdapter, length}), system.lengths);
        EXPECT_EQ(L"192.168.0.1", published.Entries().back().second);
    }
}

TEST_F(AddressDiscovery, WidensTheDeviceByTheAnsiCodePage) {
    system.adapters = {{"Gigabit\xAE Adapter", "10.0.0.7"}};
    wchar_t wide[64] = {};
    MultiByteToWideChar(CP_ACP, 0, "Gigabit\xAE Adapter", -1, wide, 64);

    Find();

    EXPECT_TRUE(host.Has(std::wstring(L"[FindIpAddress]  Network device is ") + wide));
}

} // namespace
} // namespace zq::test
