// The version of the headset client package beside the server, as the string variable
// "LocalClientAPKVersion". Runs on the thread that starts the module.
#pragma once

#include "sysinfo/StringPublisher.h"

#include <string>

namespace zq {

class HostLog;

// Reads ZQClient\Version.txt in `installDir`, which has at most 511 characters. If the file is missing,
// publishes nothing; if it has no version, publishes an empty text.
void GetLocalClientAPKVersion(const HostLog& log, const StringPublisher& publish,
                              const std::wstring& installDir);

} // namespace zq
