#include "sysinfo/GraphicsAdapter.h"

#include "sysinfo/AnsiText.h"
#include "sysinfo/WmiQuery.h"

#include <string_view>

namespace zq {

namespace {

GraphicsVendor VendorOf(std::string_view deviceId) {
    const auto has = [deviceId](std::string_view part) {
        return deviceId.find(part) != std::string_view::npos;
    };
    if (has("VEN_10DE")) {
        return GraphicsVendor::Nvidia;
    }
    return has("VEN_1002") || has("VEN_1022") ? GraphicsVendor::Amd : GraphicsVendor::Other;
}

} // namespace

std::optional<GraphicsAdapter> ReadGraphicsAdapter(const WmiObject& object) {
    const auto deviceId = object.Text(L"PNPDeviceID");
    if (!deviceId) {
        return std::nullopt;
    }
    return GraphicsAdapter{VendorOf(Narrow(*deviceId)), Narrow(object.Text(L"Name").value_or(L"NA")),
                           Narrow(object.Text(L"DriverVersion").value_or(L"0.0.0.0"))};
}

} // namespace zq
