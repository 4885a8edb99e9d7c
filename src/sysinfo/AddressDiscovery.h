// The addresses at which this machine can be reached, as the string variable "Server IP List": publishes a
// list as that variable, and discovers the addresses without WMI.
//
// Runs on the initialising thread. Never writes any other variable.
#pragma once

#include "sysinfo/StringPublisher.h"

#include <string>
#include <vector>

namespace zq {

class HostLog;

// Joins the addresses in their order, logs them under the name of the function that found them, and
// publishes them. `addresses` is not empty.
void PublishServerIpList(const HostLog& log, const StringPublisher& publish, const char* function,
                         const std::vector<std::string>& addresses);

// Publishes the first address of each adapter that has it from a DHCP server or, if there is no such adapter,
// a fixed address. Publishes nothing if the system does not list its adapters.
void FindIpAddress(const HostLog& log, const StringPublisher& publish);

} // namespace zq
