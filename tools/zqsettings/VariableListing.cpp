#include "VariableListing.h"

#include "Failure.h"
#include "PacketContent.h"

#include "ZQPacketMemory.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

namespace zq::tool {

namespace {

struct FreePacket {
    void operator()(void* packet) const { ZQFreePacket(packet); }
};

} // namespace

std::vector<Variable> DecodePacket(std::span<const uint8_t> packet) {
    PacketContent content = ReadPacket(packet);
    if (!content.problems.empty()) {
        const PacketProblem& problem = content.problems.front();
        throw Failure("the module's packet is damaged at byte " + std::to_string(problem.offset) + ": " +
                      problem.text);
    }
    return std::move(content.variables);
}

std::vector<uint8_t> PackVariables(CZQVariable& variables) {
    size_t size = 0;
    const std::unique_ptr<void, FreePacket> packet(variables.PackAllVariables(&size));
    if (!packet) {
        throw Failure("the module lists no variables");
    }
    const auto* bytes = static_cast<const uint8_t*>(packet.get());
    return {bytes, bytes + size};
}

void SortVariables(std::vector<Variable>& variables) {
    std::sort(variables.begin(), variables.end(), [](const Variable& left, const Variable& right) {
        const int order = left.name.compare(right.name);
        return order != 0 ? order < 0 : left.Type() < right.Type();
    });
}

std::vector<Variable> ListVariables(CZQVariable& variables) {
    std::vector<Variable> list = DecodePacket(PackVariables(variables));
    SortVariables(list);
    return list;
}

} // namespace zq::tool
