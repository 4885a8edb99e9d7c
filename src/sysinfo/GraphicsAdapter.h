// What the survey finds out about one graphics adapter. The texts are in the ANSI code page.
#pragma once

#include <optional>
#include <string>

namespace zq {

class WmiObject;

enum class GraphicsVendor { Nvidia = 0, Amd = 1, Other = 2 };

struct GraphicsAdapter {
    GraphicsVendor vendor;
    std::string name;
    std::string driverVersion;
};

// Reads an object of Win32_VideoController; returns nothing if it has no device id.
std::optional<GraphicsAdapter> ReadGraphicsAdapter(const WmiObject& object);

} // namespace zq
