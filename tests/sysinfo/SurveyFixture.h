// A survey among fakes: WMI, adapters and COM as the test describes them. At first WMI knows both namespaces
// and all four queries, without an object.
#pragma once

#include "sysinfo/PublishedStrings.h"
#include "sysinfo/WmiSurvey.h"

#include "base/HostLog.h"
#include "support/RecordingHost.h"
#include "support/win32/ComCalls.h"
#include "support/win32/FakeAdapters.h"
#include "support/win32/FakeWbem.h"

#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <thread>
#include <vector>

namespace zq::test {

inline constexpr const wchar_t* kCimv2 = L"root\\Cimv2";
inline constexpr const wchar_t* kStandardCimv2 = L"root\\StandardCimv2";
inline constexpr const wchar_t* kIpEnabledQuery =
    L"SELECT * from Win32_NetworkAdapterConfiguration Where IPEnabled = 'TRUE'";
inline constexpr const wchar_t* kChassisQuery = L"SELECT * FROM Win32_SystemEnclosure";
inline constexpr const wchar_t* kGraphicsQuery = L"SELECT * FROM Win32_VideoController";
inline constexpr const wchar_t* kPhysicalQuery =
    L"SELECT * from MSFT_NETAdapter Where ConnectorPresent = 'TRUE'";

using Entries = std::vector<PublishedStrings::Entry>;
using Lines = std::vector<LogLine>;

// What the fall-back logs and publishes where there is no adapter.
inline const LogLine kFallbackLine{1, L"[FindIpAddress]  Network device is "};
inline const Entries kFallbackAddress{{L"Server IP List", L"192.168.0.1"}};

// Runs `body` on a thread that COM has not seen yet; its exception arrives here.
template <class Body>
void RunOnNewThread(Body body) {
    std::exception_ptr error;
    std::thread([&] {
        try {
            body();
        } catch (...) {
            error = std::current_exception();
        }
    }).join();
    if (error) {
        std::rethrow_exception(error);
    }
}

class SurveyFixture : public testing::Test {
protected:
    SurveyFixture() {
        networkDevicePending = true;
        log.SetHost(&host);
        wbem.namespaces[kCimv2].queries = {{kIpEnabledQuery, {}}, {kChassisQuery, {}}, {kGraphicsQuery, {}}};
        wbem.namespaces[kStandardCimv2].queries = {{kPhysicalQuery, {}}};
        com.onUninitialize = [this] {
            liveAtUninitialize = wbem.LiveObjects();
            adapterCallsAtUninitialize = adapters.lengths.size();
            publishedAtUninitialize = published.Entries().size();
        };
    }
    ~SurveyFixture() override {
        EXPECT_EQ(0, wbem.LiveObjects());
        EXPECT_EQ(std::vector<std::wstring>(), wbem.Complaints());
        networkDevicePending = true;
    }

    FakeQuery& IpEnabled() { return wbem.namespaces[kCimv2].queries[kIpEnabledQuery]; }
    FakeQuery& Chassis() { return wbem.namespaces[kCimv2].queries[kChassisQuery]; }
    FakeQuery& Graphics() { return wbem.namespaces[kCimv2].queries[kGraphicsQuery]; }
    FakeQuery& Physical() { return wbem.namespaces[kStandardCimv2].queries[kPhysicalQuery]; }

    // On the calling thread.
    void Survey() { WmiServiceExectue(log, published.Publisher(), machine, observe); }
    void SurveyOnNewThread() {
        RunOnNewThread([this] { Survey(); });
    }

    static FakeObject IpEnabledAdapter(const std::vector<std::optional<std::wstring>>& addresses,
                                       const wchar_t* description) {
        return {{L"IPAddress", TextsValue(addresses)}, {L"Description", TextValue(description)}};
    }

    FakeWbem wbem;
    FakeAdapters adapters;
    ComCalls com;
    RecordingHost host;
    HostLog log;
    PublishedStrings published;
    MachineSurvey machine;
    WmiQueryObserver observe;
    int liveAtUninitialize = -1;
    size_t adapterCallsAtUninitialize = 99;
    size_t publishedAtUninitialize = 99;
};

} // namespace zq::test
