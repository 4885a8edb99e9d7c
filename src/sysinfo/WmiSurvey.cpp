#include "sysinfo/WmiSurvey.h"

#include "base/HostLog.h"
#include "sysinfo/AddressDiscovery.h"
#include "sysinfo/AnsiText.h"
#include "sysinfo/GraphicsAdapter.h"
#include "sysinfo/SaturatingInteger.h"
#include "sysinfo/WmiQuery.h"

#include <array>
#include <vector>

namespace zq {

namespace {

using Microsoft::WRL::ComPtr;

constexpr int32_t kBitsPerMegabit = 1'000'000;

// The SMBIOS chassis types in their order; the first has code 1.
constexpr std::array<const char*, 24> kChassisNames = {
    "Other",
    "Unknown",
    "Desktop",
    "Low Profile Desktop",
    "Pizza Box",
    "Mini Tower",
    "Tower",
    "Portable",
    "Laptop",
    "Notebook",
    "Hand Held",
    "Docking Station",
    "All in One",
    "Sub Notebook",
    "Space-Saving",
    "Lunch Box",
    "Main System Chassis",
    "Expansion Chassis",
    "SubChassis",
    "Bus Expansion Chassis",
    "Peripheral Chassis",
    "Storage Chassis",
    "Rack Mount Chassis",
    "Sealed-Case PC",
};

// Keeps the thread in the multithreaded apartment. It leaves even if entering failed: a host thread that was
// in a single-threaded apartment has one initialisation less afterwards.
class ComSession {
public:
    ComSession() : m_result(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~ComSession() { CoUninitialize(); }
    ComSession(const ComSession&) = delete;
    ComSession& operator=(const ComSession&) = delete;

    bool Entered() const { return SUCCEEDED(m_result); }

private:
    HRESULT m_result;
};

class WmiSurvey {
public:
    WmiSurvey(const HostLog& log, const StringPublisher& publish, MachineSurvey& machine,
              const WmiQueryObserver& observe)
        : m_log(log), m_publish(publish), m_machine(machine), m_observe(observe) {}

    // Returns the addresses of the IP-enabled adapters, in the order found.
    std::vector<std::string> Run();

private:
    bool InitializeSecurity() const;
    void SurveyCimv2(IWbemLocator& locator);
    void SurveyStandardCimv2(IWbemLocator& locator);

    // The four queries.
    void ReadIpEnabledAdapters(const WmiService& cimv2);
    void ReadChassis(const WmiService& cimv2);
    void ReadGraphicsAdapters(const WmiService& cimv2);
    void ReadPhysicalAdapters(const WmiService& standardCimv2);

    // Each reads one object.
    void ReadAddress(const WmiObject& adapter);
    void ReadNetworkDevice(const WmiObject& adapter);
    void ReadChassisTypes(const WmiObject& enclosure);
    void ReadSpeed(const WmiObject& adapter);
    void ReadDriverVersion(const WmiObject& adapter);

    const HostLog& m_log;
    const StringPublisher& m_publish;
    MachineSurvey& m_machine;
    const WmiQueryObserver& m_observe;
    std::vector<std::string> m_addresses;
};

std::vector<std::string> WmiSurvey::Run() {
    const ComSession com;
    if (!com.Entered()) {
        m_log.Log(LogNotable, L"[WmiServiceExectue] Run CoInitializeEx failed");
        return {};
    }
    if (!InitializeSecurity()) {
        return {};
    }
    ComPtr<IWbemLocator> locator;
    CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(locator.GetAddressOf()));
    if (!locator) {
        return {};
    }
    SurveyCimv2(*locator.Get());
    SurveyStandardCimv2(*locator.Get());
    return std::move(m_addresses);
}

bool WmiSurvey::InitializeSecurity() const {
    const HRESULT result = CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                                                RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    // A host that has set its own security keeps it.
    if (SUCCEEDED(result) || result == RPC_E_TOO_LATE) {
        return true;
    }
    m_log.Log(LogWarning, L"[WmiServiceExectue] Failed to initialize security. Error code = %08X",
              static_cast<unsigned int>(result));
    return false;
}

void WmiSurvey::SurveyCimv2(IWbemLocator& locator) {
    const auto cimv2 = WmiService::Connect(locator, L"root\\Cimv2", m_observe);
    if (!cimv2) {
        m_log.Log(LogNotable, L"[WmiServiceExectue] Cimv2: Connection error!");
        return;
    }
    ReadIpEnabledAdapters(*cimv2);
    ReadChassis(*cimv2);
    ReadGraphicsAdapters(*cimv2);
}

void WmiSurvey::SurveyStandardCimv2(IWbemLocator& locator) {
    const auto standardCimv2 = WmiService::Connect(locator, L"root\\StandardCimv2", m_observe);
    if (!standardCimv2) {
        m_log.Log(LogNotable, L"[WmiServiceExectue] StandardCimv2: Connection error!");
        return;
    }
    ReadPhysicalAdapters(*standardCimv2);
}

void WmiSurvey::ReadIpEnabledAdapters(const WmiService& cimv2) {
    const bool executed =
        cimv2.ForEach(L"SELECT * from Win32_NetworkAdapterConfiguration Where IPEnabled = 'TRUE'",
                      [this](const WmiObject& adapter) {
                          ReadAddress(adapter);
                          ReadNetworkDevice(adapter);
                      });
    if (!executed) {
        m_log.Log(LogNotable,
                  L"[WmiServiceExectue] Win32_NetworkAdapterConfiguration: Error executing query!");
    }
}

void WmiSurvey::ReadAddress(const WmiObject& adapter) {
    const auto address = adapter.FirstText(L"IPAddress");
    if (!address || address->empty()) {
        return;
    }
    m_addresses.push_back(Narrow(*address));
    m_log.Log(LogNotable, L"[WmiServiceExectue] ipaddress is %s", Widen(m_addresses.back()).c_str());
}

void WmiSurvey::ReadNetworkDevice(const WmiObject& adapter) {
    if (!networkDevicePending) {
        return;
    }
    const auto description = adapter.Text(L"Description");
    if (!description || description->empty()) {
        return;
    }
    m_publish(L"Server Network Device", *description);
    m_log.Log(LogNotable, L"[WmiServiceExectue]Network Device is %s", description->c_str());
    networkDevicePending = false;
}

void WmiSurvey::ReadChassis(const WmiService& cimv2) {
    const bool executed = cimv2.ForEach(L"SELECT * FROM Win32_SystemEnclosure",
                                        [this](const WmiObject& object) { ReadChassisTypes(object); });
    if (!executed) {
        m_log.Log(LogNotable, L"[WmiServiceExectue] Win32_SystemEnclosure: Error executing query!");
    }
}

void WmiSurvey::ReadChassisTypes(const WmiObject& enclosure) {
    for (const int64_t code : enclosure.Integers(L"ChassisTypes")) {
        if (code >= 1 && code <= std::ssize(kChassisNames)) {
            m_machine.machineType = kChassisNames[static_cast<size_t>(code - 1)];
        }
        m_log.Log(LogNotable, L"[WmiServiceExectue]machine type:%s", Widen(m_machine.machineType).c_str());
    }
}

void WmiSurvey::ReadGraphicsAdapters(const WmiService& cimv2) {
    const bool executed =
        cimv2.ForEach(L"SELECT * FROM Win32_VideoController", [this](const WmiObject& object) {
            if (const auto adapter = ReadGraphicsAdapter(object)) {
                m_log.Log(LogNotable, L"[WmiServiceExectue] The gpu is %s, driver version is %s",
                          Widen(adapter->name).c_str(), Widen(adapter->driverVersion).c_str());
            }
        });
    if (!executed) {
        m_log.Log(LogNotable, L"[WmiServiceExectue] Win32_VideoController: Error executing query!");
    }
}

void WmiSurvey::ReadPhysicalAdapters(const WmiService& standardCimv2) {
    const bool executed = standardCimv2.ForEach(
        L"SELECT * from MSFT_NETAdapter Where ConnectorPresent = 'TRUE'", [this](const WmiObject& adapter) {
            ReadSpeed(adapter);
            ReadDriverVersion(adapter);
        });
    if (!executed) {
        m_log.Log(LogNotable, L"[WmiServiceExectue] GetNetwrokInfo: Error executing query!");
    }
}

void WmiSurvey::ReadSpeed(const WmiObject& adapter) {
    const auto bitsPerSecond = adapter.NumberText(L"Speed");
    if (!bitsPerSecond) {
        return;
    }
    const int32_t megabits = SaturatingInteger(Narrow(*bitsPerSecond)) / kBitsPerMegabit;
    m_machine.networkSpeed = std::to_string(megabits) + " Mbps";
    m_log.Log(LogNotable, L"[WmiServiceExectue]The speed is %d", megabits);
}

void WmiSurvey::ReadDriverVersion(const WmiObject& adapter) {
    const auto version = adapter.Text(L"DriverVersionString");
    if (!version) {
        return;
    }
    m_machine.networkDriverVersion = Narrow(*version);
    m_log.Log(LogNotable, L"[WmiServiceExectue]The network adapter driver version is  %s",
              Widen(m_machine.networkDriverVersion).c_str());
}

} // namespace

void WmiServiceExectue(const HostLog& log, const StringPublisher& publish, MachineSurvey& machine,
                       const WmiQueryObserver& observe) {
    const std::vector<std::string> addresses = WmiSurvey(log, publish, machine, observe).Run();
    if (addresses.empty()) {
        FindIpAddress(log, publish);
    } else {
        PublishServerIpList(log, publish, "WmiServiceExectue", addresses);
    }
}

} // namespace zq
