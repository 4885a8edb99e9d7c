// Every variable of a module object, by value. The interface lists its variables only as a packet, so this is
// where its packet becomes a list.
#pragma once

#include "CZQVariable.h"

#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace zq::tool {

using VariableValue = std::variant<ZQBool, int64_t, double, std::wstring, std::vector<uint8_t>>;

struct Variable {
    std::wstring name;
    VariableValue value;

    // The alternatives stand in the order of the type codes.
    VariableType Type() const { return static_cast<VariableType>(value.index() + 1); }

    friend bool operator==(const Variable&, const Variable&) = default;
};

// In the order of the packet. Raises Failure for bytes that are no whole, undamaged packet.
std::vector<Variable> DecodePacket(std::span<const uint8_t> packet);

// All variables of a module as it packs them. Raises Failure when it packs none.
std::vector<uint8_t> PackVariables(CZQVariable& variables);

// By name, the types of one name in the order of their codes.
void SortVariables(std::vector<Variable>& variables);

// Sorted.
std::vector<Variable> ListVariables(CZQVariable& variables);

} // namespace zq::tool
