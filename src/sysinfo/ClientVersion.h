// The version of the headset client package that lies beside the server, as the string variable
// "LocalClientAPKVersion". Runs on the thread that starts the module.
#pragma once

#include "sysinfo/StringPublisher.h"

#include <string>

namespace zq {

class HostLog;

// Reads ZQClient\Version.txt under `installDir`, which has at most 511 characters. Without that file nothing
// is published; a file without a version publishes the empty text.
void GetLocalClientAPKVersion(const HostLog& log, const StringPublisher& publish,
                              const std::wstring& installDir);

} // namespace zq
