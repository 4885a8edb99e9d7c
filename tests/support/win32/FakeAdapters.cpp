#include "support/win32/FakeAdapters.h"

#include <cstring>

#include <winsock2.h>

#include <iphlpapi.h>

namespace zq::test {

namespace {

FakeAdapters* currentAdapters = nullptr;

template <size_t Size>
void PutText(char (&field)[Size], const std::string& text) {
    std::strncpy(field, text.c_str(), Size - 1);
}

IP_ADDR_STRING* MakeAddress(const std::string& text) {
    static IP_ADDR_STRING address;
    address = {};
    PutText(address.IpAddress.String, text);
    return &address;
}

} // namespace

FakeAdapters::FakeAdapters()
    : m_patch(nullptr, "iphlpapi.dll", "GetAdaptersInfo", AsProc(&FakeAdapters::GetInfo)) {
    currentAdapters = this;
}

FakeAdapters::~FakeAdapters() { currentAdapters = nullptr; }

ULONG WINAPI FakeAdapters::GetInfo(IP_ADAPTER_INFO* buffer, ULONG* length) {
    const size_t call = currentAdapters->lengths.size();
    currentAdapters->lengths.push_back(*length);
    const auto needed = static_cast<ULONG>(currentAdapters->adapters.size() * sizeof(IP_ADAPTER_INFO));
    const auto error = currentAdapters->errors.find(call);
    if (error != currentAdapters->errors.end() || *length < needed) {
        const auto reported = currentAdapters->reportedLengths.find(call);
        *length = reported == currentAdapters->reportedLengths.end() ? needed : reported->second;
        return error == currentAdapters->errors.end() ? ERROR_BUFFER_OVERFLOW : error->second;
    }
    for (size_t i = 0; i < currentAdapters->adapters.size(); ++i) {
        const FakeAdapter& from = currentAdapters->adapters[i];
        IP_ADAPTER_INFO& to = buffer[i];
        to = {};
        to.Next = i + 1 < currentAdapters->adapters.size() ? &to + 1 : nullptr;
        PutText(to.Description, from.description);
        PutText(to.IpAddressList.IpAddress.String, from.address);
        if (!from.secondAddress.empty()) {
            to.IpAddressList.Next = MakeAddress(from.secondAddress);
        }
        to.DhcpEnabled = from.dhcp ? 1 : 0;
        PutText(to.DhcpServer.IpAddress.String, from.dhcpServer);
    }
    return ERROR_SUCCESS;
}

} // namespace zq::test
