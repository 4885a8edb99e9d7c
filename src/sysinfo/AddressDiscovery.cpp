#include "sysinfo/AddressDiscovery.h"

#include "base/HostLog.h"
#include "sysinfo/AnsiText.h"

#include <cstring>
#include <optional>
#include <string_view>

#include <winsock2.h>

#include <iphlpapi.h>

namespace zq {

namespace {

constexpr const wchar_t* kServerIpList = L"Server IP List";
constexpr const wchar_t* kAddressWithoutAdapters = L"192.168.0.1";
constexpr std::string_view kNoDhcpServer = "0.0.0.0";

static_assert(sizeof(IP_ADAPTER_INFO) == 704, "the first call asks for exactly one adapter");

template <size_t Size>
std::string_view FieldText(const char (&field)[Size]) {
    return {field, strnlen(field, Size)};
}

// The system's list: the adapters are linked by their Next, from the first element on.
std::optional<std::vector<IP_ADAPTER_INFO>> ReadAdapters() {
    std::vector<IP_ADAPTER_INFO> buffer(1);
    ULONG length = sizeof(IP_ADAPTER_INFO);
    if (GetAdaptersInfo(buffer.data(), &length) != ERROR_SUCCESS) {
        // Nothing that the failed call wrote may remain; one element is kept even for a reported length of 0.
        buffer.assign(length / sizeof(IP_ADAPTER_INFO) + 1, IP_ADAPTER_INFO{});
    }
    if (GetAdaptersInfo(buffer.data(), &length) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    return buffer;
}

bool HasDhcpAddress(const IP_ADAPTER_INFO& adapter) {
    const std::string_view server = FieldText(adapter.DhcpServer.IpAddress.String);
    return adapter.DhcpEnabled != 0 && server != kNoDhcpServer && !server.empty();
}

} // namespace

void PublishServerIpList(const HostLog& log, const StringPublisher& publish, const char* function,
                         const std::vector<std::string>& addresses) {
    std::string joined;
    for (const std::string& address : addresses) {
        if (&address != &addresses.front()) {
            joined += ", ";
        }
        joined += address;
    }
    const std::wstring text = Widen(joined);
    log.Log(LogNotable, L"[%hs] IP Address is %s", function, text.c_str());
    publish(kServerIpList, text);
}

void FindIpAddress(const HostLog& log, const StringPublisher& publish) {
    const auto adapters = ReadAdapters();
    if (!adapters) {
        return;
    }
    std::string device;
    std::vector<std::string> addresses;
    for (const IP_ADAPTER_INFO* adapter = adapters->data(); adapter; adapter = adapter->Next) {
        if (!HasDhcpAddress(*adapter)) {
            continue;
        }
        addresses.emplace_back(FieldText(adapter->IpAddressList.IpAddress.String));
        if (device.empty()) {
            device = FieldText(adapter->Description);
        }
    }
    if (addresses.empty()) {
        publish(kServerIpList, kAddressWithoutAdapters);
    } else {
        PublishServerIpList(log, publish, "FindIpAddress", addresses);
    }
    log.Log(LogNotable, L"[%hs]  Network device is %s", "FindIpAddress", Widen(device).c_str());
}

} // namespace zq
