#include "VariableListing.h"

#include "Failure.h"

#include "ZQPacketMemory.h"
#include "variables/VariablePacket.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace zq::tool {

namespace {

using Bytes = std::span<const std::byte>;

constexpr uint32_t kEncodingUtf16 = 0;

template <class Value>
Value ValueOf(Bytes bytes) {
    Value value;
    if (bytes.size() != sizeof(value)) {
        throw Failure("the module's packet has a value of the wrong length");
    }
    std::memcpy(&value, bytes.data(), sizeof(value));
    return value;
}

std::vector<uint8_t> BinaryOf(Bytes bytes) {
    std::vector<uint8_t> binary(bytes.size());
    std::transform(bytes.begin(), bytes.end(), binary.begin(), std::to_integer<uint8_t>);
    return binary;
}

VariableValue DecodeValue(const PacketReader& reader, const PacketRecord& record) {
    switch (record.type) {
    case VariableTypeBool:
        return ValueOf<ZQBool>(record.value);
    case VariableTypeInt64:
        return ValueOf<int64_t>(record.value);
    case VariableTypeDouble:
        return ValueOf<double>(record.value);
    case VariableTypeString:
        return reader.Decode(record.value);
    case VariableTypeBinary:
        return BinaryOf(record.value);
    default:
        throw Failure("the module's packet has a value of an unknown type");
    }
}

struct FreePacket {
    void operator()(void* packet) const { ZQFreePacket(packet); }
};

} // namespace

std::vector<Variable> DecodePacket(std::span<const uint8_t> packet) {
    PacketReader reader(std::as_bytes(packet));
    if (!reader.IsPacket() || reader.Encoding() != kEncodingUtf16) {
        throw Failure("the module's packet does not begin as a packet in UTF-16 does");
    }
    std::vector<Variable> variables;
    PacketRecord record;
    while (reader.Next(record)) {
        variables.push_back({std::wstring(record.name), DecodeValue(reader, record)});
    }
    if (reader.Stop() != PacketStop::End) {
        throw Failure("the module's packet is damaged at byte " + std::to_string(reader.Offset()));
    }
    return variables;
}

std::vector<Variable> ListVariables(CZQVariable& variables) {
    size_t size = 0;
    const std::unique_ptr<void, FreePacket> packet(variables.PackAllVariables(&size));
    if (!packet) {
        throw Failure("the module lists no variables");
    }
    std::vector<Variable> list = DecodePacket({static_cast<const uint8_t*>(packet.get()), size});
    std::sort(list.begin(), list.end(), [](const Variable& left, const Variable& right) {
        const int order = left.name.compare(right.name);
        return order != 0 ? order < 0 : left.Type() < right.Type();
    });
    return list;
}

} // namespace zq::tool
