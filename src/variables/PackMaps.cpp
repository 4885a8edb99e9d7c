#include "variables/PackMaps.h"

#include "CZQVariable.h"
#include "base/NameBuffer.h"

#include <span>

namespace zq {

namespace {

// Calls use(name) with the name of a node, put together in `whole` only where it has a prefix.
template <class Node, class Use>
void WithName(const Node& node, NameBuffer& whole, Use use) {
    if (node.HasPrefix()) {
        use(VariableMap<int64_t>::WholeName(node, whole));
    } else {
        use(node.Rest());
    }
}

template <class Map>
void PackMap(PacketWriter& packet, VariableType type, const Map& map) {
    NameBuffer whole;
    map.ForEachNode([&](const auto& node, const auto& value) {
        WithName(node, whole,
                 [&](const auto& name) { packet.Append(type, name, std::as_bytes(std::span(&value, 1))); });
    });
}

// What the packet of a map takes without its values: known beforehand, it needs one block of memory and no
// copy.
template <class Map>
size_t NameBytes(const Map& map) {
    return map.Size() * kPacketRecordHeaderBytes + map.NameUnits() * sizeof(wchar_t);
}

template <class Map>
size_t ScalarBytes(const Map& map, size_t valueBytes) {
    return NameBytes(map) + map.Size() * valueBytes;
}

size_t RecordBytes(const VariableMaps& maps) {
    size_t bytes = ScalarBytes(maps.bools, sizeof(uint8_t)) + ScalarBytes(maps.Integers(), sizeof(int64_t)) +
                   ScalarBytes(maps.Doubles(), sizeof(double)) + NameBytes(maps.strings) +
                   NameBytes(maps.binaries);
    maps.strings.ForEachNode(
        [&](const auto&, const StoredText& text) { bytes += text.View().size() * sizeof(wchar_t); });
    maps.binaries.ForEachNode([&](const auto&, const BinaryBlock* block) { bytes += block->size; });
    return bytes;
}

} // namespace

PacketWriter PackMaps(const VariableMaps& maps) {
    PacketWriter packet(RecordBytes(maps));
    PackMap(packet, VariableTypeBool, maps.bools);
    PackMap(packet, VariableTypeInt64, maps.Integers());
    PackMap(packet, VariableTypeDouble, maps.Doubles());
    NameBuffer whole;
    maps.strings.ForEachNode([&](const auto& node, const StoredText& text) {
        WithName(node, whole,
                 [&](const auto& name) { packet.AppendText(VariableTypeString, name, text.View()); });
    });
    maps.binaries.ForEachNode([&](const auto& node, const BinaryBlock* block) {
        WithName(node, whole, [&](const auto& name) {
            packet.Append(VariableTypeBinary, name,
                          {static_cast<const std::byte*>(block->Bytes()), block->size});
        });
    });
    return packet;
}

} // namespace zq
