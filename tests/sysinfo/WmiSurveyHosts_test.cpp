// The survey in the host threads that it meets, over and over, and against the system's own WMI.
#include "sysinfo/SurveyFixture.h"

#include "support/win32/ProcessResources.h"

#include <wbemcli.h>

namespace zq::test {
namespace {

// Whether the calling thread has no initialisation of COM left; enters `model` to find out.
bool HasLeftCom(DWORD model) {
    const HRESULT result = CoInitializeEx(nullptr, model);
    CoUninitialize();
    return result == S_OK;
}

class WmiSurveyHosts : public SurveyFixture {
protected:
    WmiSurveyHosts() { IpEnabled().objects = {IpEnabledAdapter({L"10.0.0.1"}, L"Wired")}; }

    void SurveyCounted() {
        com.initializations = 0;
        com.uninitializations = 0;
        Survey();
        EXPECT_EQ(1, com.initializations);
        EXPECT_EQ(1, com.uninitializations);
    }
    void ExpectFullSurvey() {
        ASSERT_EQ(2U, published.Entries().size());
        EXPECT_EQ(L"10.0.0.1", published.Entries().back().second);
        EXPECT_FALSE(host.Has(L"[WmiServiceExectue] Run CoInitializeEx failed"));
    }
};

TEST_F(WmiSurveyHosts, LeavesAThreadWithoutComWithoutCom) {
    RunOnNewThread([this] {
        SurveyCounted();

        EXPECT_TRUE(HasLeftCom(COINIT_APARTMENTTHREADED));
    });
    ExpectFullSurvey();
}

TEST_F(WmiSurveyHosts, LeavesAThreadOfTheMultithreadedApartmentThere) {
    RunOnNewThread([this] {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);

        SurveyCounted();

        EXPECT_FALSE(HasLeftCom(COINIT_MULTITHREADED));
        CoUninitialize();
        EXPECT_TRUE(HasLeftCom(COINIT_MULTITHREADED));
    });
    ExpectFullSurvey();
}

TEST_F(WmiSurveyHosts, TakesOneInitialisationFromASingleThreadedApartment) {
    RunOnNewThread([this] {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);

        SurveyCounted();
        EXPECT_FALSE(HasLeftCom(COINIT_APARTMENTTHREADED));

        SurveyCounted();
        EXPECT_TRUE(HasLeftCom(COINIT_APARTMENTTHREADED));
    });
    EXPECT_EQ(2, host.Count(L"[WmiServiceExectue] Run CoInitializeEx failed"));
    EXPECT_EQ((std::vector<PublishedStrings::Entry>(2, {L"Server IP List", L"192.168.0.1"})),
              published.Entries());
    EXPECT_EQ(0, wbem.MadeObjects());
}

TEST_F(WmiSurveyHosts, IsFullWhereSecurityIsSetAlready) {
    RunOnNewThread([this] {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                             RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
        com.securityResult = RPC_E_TOO_LATE;

        SurveyCounted();

        CoUninitialize();
        EXPECT_TRUE(HasLeftCom(COINIT_MULTITHREADED));
    });
    ExpectFullSurvey();
}

TEST_F(WmiSurveyHosts, PublishesTheAddressesHoweverDeadWmiIs) {
    const std::vector<std::pair<const char*, std::function<void()>>> deaths = {
        {"COM", [this] { com.initializeResult = E_FAIL; }},
        {"security", [this] { com.securityResult = E_FAIL; }},
        {"locator", [this] { wbem.locatorResult = E_FAIL; }},
        {"first connection", [this] { wbem.namespaces[kCimv2].result = E_FAIL; }},
        {"both connections",
         [this] { wbem.namespaces[kCimv2].result = wbem.namespaces[kStandardCimv2].result = E_FAIL; }},
        {"adapters", [this] { IpEnabled().result = E_FAIL; }},
        {"adapters' end", [this] { IpEnabled().objects.clear(), IpEnabled().end = E_FAIL; }},
    };
    const FakeNamespaces sound = wbem.namespaces;
    adapters.adapters = {{"Adapter", "172.16.0.9"}};
    for (const auto& [what, kill] : deaths) {
        com.initializeResult = com.securityResult = std::nullopt;
        wbem.locatorResult = S_OK;
        wbem.namespaces = sound;
        published.Clear();
        kill();

        SurveyOnNewThread();

        EXPECT_EQ((std::vector<PublishedStrings::Entry>{{L"Server IP List", L"172.16.0.9"}}),
                  published.Entries())
            << what;
    }
}

TEST_F(WmiSurveyHosts, PublishesItsAddressesWhenALaterPartOfWmiIsDead) {
    const FakeNamespaces sound = wbem.namespaces;
    for (const auto& kill : std::vector<std::function<void()>>{
             [this] { Chassis().result = E_FAIL; }, [this] { Graphics().result = E_FAIL; },
             [this] { Physical().result = E_FAIL; },
             [this] { wbem.namespaces[kStandardCimv2].result = E_FAIL; }}) {
        wbem.namespaces = sound;
        published.Clear();
        kill();

        SurveyOnNewThread();

        EXPECT_EQ((PublishedStrings::Entry{L"Server IP List", L"10.0.0.1"}), published.Entries().back());
    }
}

FakeObject LargeObject() {
    const std::wstring text(16 * 1024, L'x');
    return {{L"IPAddress", TextsValue({text, L"10.0.0.1"})},
            {L"Description", TextValue(text)},
            {L"ChassisTypes", IntegersValue(VT_I4, std::vector<int64_t>(4096, 0))},
            {L"PNPDeviceID", TextValue(text)},
            {L"Name", TextValue(text)},
            {L"DriverVersion", TextValue(text)},
            {L"Speed", TextValue(text)},
            {L"DriverVersionString", TextValue(text)}};
}

TEST_F(WmiSurveyHosts, LeaksNothingOverAThousandSurveys) {
    constexpr int kSurveys = 1000;
    constexpr size_t kMemoryForNoise = 16 * 1024;
    log.SetHost(nullptr);
    for (FakeQuery* query : {&IpEnabled(), &Chassis(), &Graphics(), &Physical()}) {
        query->objects = {LargeObject(), {}, LargeObject()};
        query->end = WBEM_E_TRANSPORT_FAILURE;
    }
    Chassis().objects.resize(1);
    const auto survey = [this](int number) {
        networkDevicePending = true;
        com.securityResult = number % 3 == 1 ? std::optional<HRESULT>(E_FAIL) : std::nullopt;
        Graphics().result = number % 3 == 2 ? E_FAIL : S_OK;
        published.Clear();
        wbem.ForgetCalls();
        Survey();
    };
    RunOnNewThread([&] {
        for (int number = 0; number < 30; ++number) {
            survey(number);
        }
        const size_t handles = HandleCount();
        const size_t memory = HeapBytes(); // one lost text a survey would show many times over

        for (int number = 0; number < kSurveys; ++number) {
            survey(number);
        }

        EXPECT_EQ(handles, HandleCount());
        EXPECT_LT(HeapBytes(), memory + kMemoryForNoise);
        EXPECT_EQ(0, wbem.LiveObjects());
    });
    EXPECT_GT(wbem.MadeObjects(), kSurveys * 5);
}

TEST(SystemWmi, IsSurveyedAsItComes) {
    networkDevicePending = true;
    RecordingHost host;
    HostLog log;
    log.SetHost(&host);
    PublishedStrings published;
    MachineSurvey machine;
    std::vector<WmiQueryReport> reports;

    RunOnNewThread([&] {
        WmiServiceExectue(log, published.Publisher(), machine,
                          [&](const WmiQueryReport& report) { reports.push_back(report); });
        EXPECT_TRUE(HasLeftCom(COINIT_APARTMENTTHREADED));
    });
    networkDevicePending = true;

    ASSERT_FALSE(published.Entries().empty());
    EXPECT_EQ(L"Server IP List", published.Entries().back().first);
    EXPECT_NE(L"", published.Entries().back().second);
    EXPECT_FALSE(host.Has(L"[WmiServiceExectue] Run CoInitializeEx failed"));
    for (const LogLine& line : host.Lines()) {
        EXPECT_EQ(1, line.level) << Printable(line);
        EXPECT_TRUE(line.text.starts_with(L"[WmiServiceExectue]") ||
                    line.text.starts_with(L"[FindIpAddress]"))
            << Printable(line);
    }
}

TEST(SystemWmi, LeaksNoHandleOverManySurveys) {
    HostLog log;
    PublishedStrings published;
    MachineSurvey machine;
    const auto survey = [&] { WmiServiceExectue(log, published.Publisher(), machine); };
    RunOnNewThread([&] {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        survey();
        const size_t handles = HandleCount();

        for (int number = 0; number < 10; ++number) {
            survey();
        }

        EXPECT_EQ(handles, HandleCount());
        CoUninitialize();
    });
    networkDevicePending = true;
}

} // namespace
} // namespace zq::test
