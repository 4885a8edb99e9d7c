// What a survey itself costs, for 100 WMI objects: objects inside the process replace the real WMI, and the
// log is dropped. Prints the best and the median of many surveys; creating the objects is included.
#include "base/HostLog.h"
#include "support/win32/FakeWbem.h"
#include "sysinfo/WmiSurvey.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

constexpr int kSurveys = 500;
constexpr size_t kObjectsPerQuery = 25; // of four queries

using namespace zq::test;

FakeNamespaces Machine() {
    const FakeQuery ipEnabled{.objects{kObjectsPerQuery,
                                       {{L"IPAddress", TextsValue({L"192.168.100.200", L"fe80::1"})},
                                        {L"Description", TextValue(L"Gigabit Network Connection")}}}};
    const FakeQuery chassis{.objects{kObjectsPerQuery, {{L"ChassisTypes", IntegersValue(VT_I4, {3})}}}};
    const FakeQuery graphics{.objects{kObjectsPerQuery,
                                      {{L"PNPDeviceID", TextValue(L"PCI\\VEN_10DE&DEV_2684&SUBSYS_16F3")},
                                       {L"Name", TextValue(L"A Graphics Adapter of the Better Sort")},
                                       {L"DriverVersion", TextValue(L"31.0.15.3713")}}}};
    const FakeQuery physical{
        .objects{kObjectsPerQuery,
                 {{L"Speed", TextValue(L"1000000000")}, {L"DriverVersionString", TextValue(L"12.19.2.45")}}}};
    FakeNamespaces machine;
    machine[L"root\\Cimv2"].queries = {
        {L"SELECT * from Win32_NetworkAdapterConfiguration Where IPEnabled = 'TRUE'", ipEnabled},
        {L"SELECT * FROM Win32_SystemEnclosure", chassis},
        {L"SELECT * FROM Win32_VideoController", graphics}};
    machine[L"root\\StandardCimv2"].queries = {
        {L"SELECT * from MSFT_NETAdapter Where ConnectorPresent = 'TRUE'", physical}};
    return machine;
}

double MillisecondsOfOneSurvey() {
    const zq::HostLog log;
    const zq::StringPublisher publish = [](const wchar_t*, const std::wstring&) {};
    zq::MachineSurvey machine;
    const auto start = std::chrono::steady_clock::now();
    zq::WmiServiceExectue(log, publish, machine);
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

int main() {
    FakeWbem wbem;
    wbem.namespaces = Machine();
    std::vector<double> times;
    for (int survey = 0; survey < kSurveys; ++survey) {
        times.push_back(MillisecondsOfOneSurvey());
    }
    std::sort(times.begin(), times.end());
    std::printf("survey of %zu WMI objects: best %.3f ms, median %.3f ms, of %d surveys\n",
                4 * kObjectsPerQuery, times.front(), times[times.size() / 2], kSurveys);
    return wbem.Complaints().empty() && wbem.LiveObjects() == 0 ? 0 : 1;
}
