// The survey of the host machine, once while the module is initialised: its reachable addresses and network
// device become string variables, the rest is kept in three texts and logged.
//
// Runs on the initialising thread, which it joins to the multithreaded COM apartment meanwhile. However
// broken WMI is, no error reaches the caller and the addresses are published. An exception of the publisher
// passes through, with everything released.
#pragma once

#include "sysinfo/StringPublisher.h"
#include "sysinfo/WmiQueryReport.h"

#include <atomic>
#include <string>

namespace zq {

class HostLog;

// In the ANSI code page. A survey changes what it learns and leaves the rest as it was.
struct MachineSurvey {
    std::string machineType;          // a name of the SMBIOS chassis types, such as "Desktop"
    std::string networkSpeed;         // of the last physical adapter, such as "1000 Mbps"
    std::string networkDriverVersion; // of the last physical adapter
};

// True until a survey has named the network device. For the whole process: later surveys, of other module
// objects too, leave "Server Network Device" alone. Tests set it again.
inline std::atomic<bool> networkDevicePending{true};

// Publishes "Server Network Device" and "Server IP List". `observe` is called after each query of WMI.
void WmiServiceExectue(const HostLog& log, const StringPublisher& publish, MachineSurvey& machine,
                       const WmiQueryObserver& observe = {});

} // namespace zq
