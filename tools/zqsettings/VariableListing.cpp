#include "VariableListing.h"

#include "Failure.h"

#include "ZQPacketMemory.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace zq::tool {

namespace {

constexpr std::array<uint8_t, 3> kMagic = {0xBF, 0xFE, 0xEB};
constexpr size_t kHeaderSize = 8;
constexpr size_t kRecordHeadSize = 12;

// Takes a packet apart from front to back.
class PacketReader {
public:
    explicit PacketReader(std::span<const uint8_t> bytes) : m_rest(bytes) {}

    bool IsAtEnd() const { return m_rest.empty(); }

    std::span<const uint8_t> Take(size_t count) {
        if (count > m_rest.size()) {
            throw Failure("the module's packet ends inside a record");
        }
        const auto taken = m_rest.first(count);
        m_rest = m_rest.subspan(count);
        return taken;
    }

private:
    std::span<const uint8_t> m_rest;
};

template <class Value>
Value ValueOf(std::span<const uint8_t> bytes) {
    Value value;
    if (bytes.size() != sizeof(value)) {
        throw Failure("the module's packet has a value of the wrong length");
    }
    std::memcpy(&value, bytes.data(), sizeof(value));
    return value;
}

std::wstring TextOf(std::span<const uint8_t> bytes) {
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    return text;
}

VariableValue DecodeValue(uint32_t type, std::span<const uint8_t> bytes) {
    switch (type) {
    case VariableTypeBool:
        return ValueOf<ZQBool>(bytes);
    case VariableTypeInt64:
        return ValueOf<int64_t>(bytes);
    case VariableTypeDouble:
        return ValueOf<double>(bytes);
    case VariableTypeString:
        return TextOf(bytes);
    case VariableTypeBinary:
        return std::vector<uint8_t>(bytes.begin(), bytes.end());
    default:
        throw Failure("the module's packet has a value of an unknown type");
    }
}

Variable DecodeRecord(PacketReader& reader) {
    const auto head = reader.Take(kRecordHeadSize);
    const auto type = ValueOf<uint32_t>(head.subspan(0, 4));
    const auto nameLength = ValueOf<uint32_t>(head.subspan(4, 4));
    const auto dataLength = ValueOf<uint32_t>(head.subspan(8, 4));
    std::wstring name = TextOf(reader.Take(nameLength));
    return {std::move(name), DecodeValue(type, reader.Take(dataLength))};
}

struct FreePacket {
    void operator()(void* packet) const { ZQFreePacket(packet); }
};

} // namespace

std::vector<Variable> DecodePacket(std::span<const uint8_t> packet) {
    PacketReader reader(packet);
    const auto header = reader.Take(kHeaderSize);
    if (!std::equal(kMagic.begin(), kMagic.end(), header.begin()) ||
        ValueOf<uint32_t>(header.subspan(4, 4)) != 0) {
        throw Failure("the module's packet does not begin as a packet in UTF-16 does");
    }
    std::vector<Variable> variables;
    while (!reader.IsAtEnd()) {
        variables.push_back(DecodeRecord(reader));
    }
    return variables;
}

std::vector<Variable> ListVariables(CZQVariable& variables) {
    size_t size = 0;
    const std::unique_ptr<void, FreePacket> packet(variables.PackAllVariables(&size));
    if (!packet) {
        return {};
    }
    std::vector<Variable> list = DecodePacket({static_cast<const uint8_t*>(packet.get()), size});
    std::sort(list.begin(), list.end(), [](const Variable& left, const Variable& right) {
        const int order = left.name.compare(right.name);
        return order != 0 ? order < 0 : left.Type() < right.Type();
    });
    return list;
}

} // namespace zq::tool
