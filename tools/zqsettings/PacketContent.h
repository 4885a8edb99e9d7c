// A variable packet taken apart for a person: its variables, and what is wrong with it where.
#pragma once

#include "VariableListing.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace zq::tool {

struct PacketProblem {
    size_t offset; // in the packet, in bytes
    std::string text;

    friend bool operator==(const PacketProblem&, const PacketProblem&) = default;
};

struct PacketContent {
    std::vector<Variable> variables; // in the order of the packet
    // Records that a module skips, and last the place where it stops reading, if it is not the end.
    std::vector<PacketProblem> problems;
};

// Whether the bytes begin as a packet does.
bool IsPacket(std::span<const uint8_t> bytes);

PacketContent ReadPacket(std::span<const uint8_t> packet);

} // namespace zq::tool
