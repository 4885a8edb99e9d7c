// The network adapters that the test program's calls of GetAdaptersInfo find. One at a time in a process.
#pragma once

#include "support/win32/ImportPatch.h"

#include <map>
#include <string>
#include <vector>

struct _IP_ADAPTER_INFO;

namespace zq::test {

struct FakeAdapter {
    std::string description;
    std::string address;
    bool dhcp = true;
    std::string dhcpServer = "10.0.0.1";
    std::string secondAddress;
};

class FakeAdapters {
public:
    FakeAdapters();
    ~FakeAdapters();
    FakeAdapters(const FakeAdapters&) = delete;
    FakeAdapters& operator=(const FakeAdapters&) = delete;

    std::vector<FakeAdapter> adapters;
    // Errors of single calls, by their number from 0 on; others fail only when the buffer is too small.
    std::map<size_t, ULONG> errors;
    // What failing calls report as the needed length in place of the truth.
    std::map<size_t, ULONG> reportedLengths;

    // The buffer length of each call.
    std::vector<ULONG> lengths;

private:
    static ULONG WINAPI GetInfo(_IP_ADAPTER_INFO* buffer, ULONG* length);

    ImportPatch m_patch;
};

} // namespace zq::test
