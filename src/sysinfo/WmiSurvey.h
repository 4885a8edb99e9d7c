// The survey of the machine, made once while the module is initialised: its addresses and network device
// become string variables; the rest is kept in three texts and logged.
//
// Runs on the initialising thread, which is in the multithreaded COM apartment meanwhile. However broken WMI
// is, no error reaches the caller, and the addresses are published. An exception of the publisher passes
// through after everything is released.
#pragma once

#include "sysinfo/StringPublisher.h"
#include "sysinfo/WmiQueryReport.h"

#include <atomic>
#include <string>

namespace zq {

class HostLog;

// In the ANSI code page. A survey changes what it finds out and leaves the rest as it was.
struct MachineSurvey {
    std::string machineType;          // a name of the SMBIOS chassis types, such as "Desktop"
    std::string networkSpeed;         // of the last physical adapter, such as "1000 Mbps"
    std::string networkDriverVersion; // of the last physical adapter
};

// True until a survey has named the network device. It applies to the whole process: later surveys, even of
// other module objects, leave "Server Network Device" alone. Tests set it again.
inline std::atomic<bool> networkDevicePending{true};

// Publishes "Server Network Device" and "Server IP List". `observe` is called after each query of WMI.
void WmiServiceExectue(const HostLog& log, const StringPublisher& publish, MachineSurvey& machine,
                       const WmiQueryObserver& observe = {});

} // namespace zq
