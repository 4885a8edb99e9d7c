#include "sysinfo/ClientVersion.h"

#include "base/HostLog.h"
#include "platform/Files.h"

#include <windows.h>

namespace zq {

namespace {

// In characters, with the terminator; a longer version is truncated.
constexpr DWORD kVersionBufferSize = 256;

std::wstring ReadVersion(const std::wstring& path) {
    wchar_t buffer[kVersionBufferSize] = {};
    GetPrivateProfileStringW(L"ProductVersion", L"Version", L"", buffer, kVersionBufferSize, path.c_str());
    return buffer;
}

} // namespace

void GetLocalClientAPKVersion(const HostLog& log, const StringPublisher& publish,
                              const std::wstring& installDir) {
    const std::wstring path = installDir + L"\\ZQClient\\Version.txt";
    if (!FileExists(path)) {
        log.Log(LogWarning,
                L"[%hs] Client version txt (%s) is not exist, just pass false to checker function",
                "GetLocalClientAPKVersion", path.c_str());
        return;
    }
    const std::wstring version = ReadVersion(path);
    publish(L"LocalClientAPKVersion", version);
    log.Log(LogProgress, L"[%hs] Client version from version.txt is %s", "GetLocalClientAPKVersion",
            version.c_str());
}

} // namespace zq
