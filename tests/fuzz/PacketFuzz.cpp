// Fuzz target of the packet reader: whatever the bytes, reading ends, stays inside them, and what was read
// can be written and read again unchanged.
#include "Require.h"

#include "variables/VariablePacket.h"

#include <string>
#include <utility>
#include <vector>

namespace {

using zq::fuzz::Require;
using Records = std::vector<std::pair<std::wstring, std::vector<std::byte>>>;

constexpr uint32_t kEncodingUtf16 = 0;

Records ReadAll(std::span<const std::byte> packet, uint32_t& encoding) {
    zq::PacketReader reader(packet);
    encoding = reader.Encoding();
    Records records;
    zq::PacketRecord record;
    while (reader.Next(record)) {
        Require(record.offset + zq::kPacketRecordHeaderBytes <= packet.size());
        reader.Decode(record.value);
        records.emplace_back(record.name, std::vector<std::byte>(record.value.begin(), record.value.end()));
    }
    Require(reader.Offset() <= packet.size() || !reader.IsPacket());
    return records;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    uint32_t encoding = 0;
    const Records records = ReadAll(std::as_bytes(std::span(data, size)), encoding);
    zq::PacketWriter writer;
    for (const auto& [name, value] : records) {
        writer.Append(5, name, value);
    }
    if (encoding == kEncodingUtf16) {
        Require(ReadAll(writer.Bytes(), encoding) == records);
    }
    return 0;
}
