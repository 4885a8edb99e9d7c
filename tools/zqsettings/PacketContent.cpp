#include "PacketContent.h"

#include "variables/VariablePacket.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace zq::tool {

namespace {

using Bytes = std::span<const std::byte>;

// A value that is longer than its type counts by its first bytes, as the module takes it.
template <class Value>
std::optional<VariableValue> PacketNumber(Bytes bytes) {
    Value value;
    if (bytes.size() < sizeof(value)) {
        return std::nullopt;
    }
    std::memcpy(&value, bytes.data(), sizeof(value));
    return value;
}

std::vector<uint8_t> BinaryOf(Bytes bytes) {
    std::vector<uint8_t> binary(bytes.size());
    std::transform(bytes.begin(), bytes.end(), binary.begin(), std::to_integer<uint8_t>);
    return binary;
}

std::optional<VariableValue> DecodeValue(PacketReader& reader, const PacketRecord& record) {
    switch (record.type) {
    case VariableTypeBool:
        return PacketNumber<ZQBool>(record.value);
    case VariableTypeInt64:
        return PacketNumber<int64_t>(record.value);
    case VariableTypeDouble:
        return PacketNumber<double>(record.value);
    case VariableTypeString:
        return std::wstring(reader.Decode(record.value));
    case VariableTypeBinary:
        return BinaryOf(record.value);
    default:
        return std::nullopt;
    }
}

std::string SkippedText(const PacketRecord& record) {
    if (record.type < VariableTypeBool || record.type > VariableTypeBinary) {
        return "the record has the unknown type " + std::to_string(record.type) + " and is skipped";
    }
    return "the record has " + std::to_string(record.value.size()) +
           " bytes of value, too few for its type, and is skipped";
}

const char* StopText(PacketStop stop) {
    switch (stop) {
    case PacketStop::Truncated:
        return "the record goes beyond the end of the packet";
    case PacketStop::BadLength:
        return "the record's name is empty, or one of its lengths is negative";
    case PacketStop::EmptyName:
        return "the record's name is empty, or cannot be read in the packet's encoding";
    default:
        return "";
    }
}

} // namespace

bool IsPacket(std::span<const uint8_t> bytes) { return PacketReader(std::as_bytes(bytes)).IsPacket(); }

PacketContent ReadPacket(std::span<const uint8_t> packet) {
    PacketReader reader(std::as_bytes(packet));
    PacketContent content;
    if (!reader.IsPacket()) {
        content.problems.push_back({0, "the packet does not begin with its 8 bytes of header"});
        return content;
    }
    PacketRecord record;
    while (reader.Next(record)) {
        if (std::optional<VariableValue> value = DecodeValue(reader, record)) {
            content.variables.push_back({std::wstring(record.name), std::move(*value)});
        } else {
            content.problems.push_back({record.offset, SkippedText(record)});
        }
    }
    if (reader.Stop() != PacketStop::End) {
        content.problems.push_back(
            {reader.Offset(), std::string(StopText(reader.Stop())) + "; reading stops here"});
    }
    return content;
}

} // namespace zq::tool
