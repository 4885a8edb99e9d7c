#include "support/win32/FakeAdapters.h"

#include <cstring>

#include <winsock2.h>

#include <iphlpapi.h>

namespace zq::test {

namespace {

FakeAdapters* current = nullptr;

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
    current = this;
}

FakeAdapters::~FakeAdapters() { current = nullptr; }

ULONG WINAPI FakeAdapters::GetInfo(IP_ADAPTER_INFO* buffer, ULONG* length) {
    const size_t call = current->lengths.size();
    current->lengths.push_back(*length);
    const auto needed = static_cast<ULONG>(current->adapters.size() * sizeof(IP_ADAPTER_INFO));
    const auto error = current->errors.find(call);
    if (error != current->errors.end() || *length < needed) {
        const auto reported = current->reportedLengths.find(call);
        *length = reported == current->reportedLengths.end() ? needed : reported->second;
        return error == current->errors.end() ? ERROR_BUFFER_OVERFLOW : error->second;
    }
    for (size_t i = 0; i < current->adapters.size(); ++i) {
        const FakeAdapter& from = current->adapters[i];
        IP_ADAPTER_INFO& to = buffer[i];
        to = {};
        to.Next = i + 1 < current->adapters.size() ? &to + 1 : nullptr;
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
