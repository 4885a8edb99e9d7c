// The byte format in which variables travel to other processes: a header of 8 bytes, then records without
// padding. All numbers are little-endian; docs/variable-packet.md gives the table.
//
// Portable, no locks: knows neither the store nor the system.
#pragma once

#include "variables/ExpectedEntries.h"
#include "variables/NodeName.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace zq {

inline constexpr size_t kPacketHeaderBytes = 8;
inline constexpr size_t kPacketRecordHeaderBytes = 12;

// Writes a packet into a buffer of 8192 bytes that doubles as it grows, or has doubled at the start until the
// expected records fit. Raises std::bad_alloc.
class PacketWriter {
public:
    explicit PacketWriter(size_t expectedBytes = 0);

    // Doubles the buffer until `bytes` more fit: at once what appending would do step by step.
    void Reserve(size_t bytes);

    // Appends a record: any type code, the value's bytes as they are. Name and value of 2 GB and more raise
    // std::bad_alloc before anything is written.
    void Append(uint32_t type, std::wstring_view name, std::span<const std::byte> value);
    // Appends a record with a text for its value, in UTF-16.
    void AppendText(uint32_t type, std::wstring_view name, std::wstring_view text);
    // The same with a name as nodes keep it.
    void Append(uint32_t type, const NodeName& name, std::span<const std::byte> value);
    void AppendText(uint32_t type, const NodeName& name, std::wstring_view text);

    size_t Size() const { return m_size; }
    std::span<const std::byte> Bytes() const { return {m_buffer.get(), m_size}; }
    // Hands the packet over: an array from new[].
    std::byte* Release() { return m_buffer.release(); }

private:
    // Makes room for a record and writes its header; returns where its name belongs.
    std::byte* AppendHeader(uint32_t type, size_t nameBytes, size_t valueBytes);
    // The same with the name; returns where the value belongs.
    std::byte* AppendName(uint32_t type, std::wstring_view name, size_t valueBytes);
    std::byte* AppendName(uint32_t type, const NodeName& name, size_t valueBytes);

    std::unique_ptr<std::byte[]> m_buffer;
    size_t m_capacity;
    size_t m_size;
};

// One record as it was read. What it points to is valid until the next one is read.
struct PacketRecord {
    uint32_t type;
    std::wstring_view name;
    std::span<const std::byte> value;
    size_t offset; // in the packet
};

// Records by type code; those of no known type count as code 0.
using PacketCounts = std::array<ExpectedEntries, 6>;

// What a reader will read of the packet, found without a look at names and values.
PacketCounts CountPacketRecords(std::span<const std::byte> packet);

// Why a reader stops.
enum class PacketStop { End, Truncated, BadLength, EmptyName };

// Takes a packet apart, record by record, and stops at the first one that is damaged.
class PacketReader {
public:
    // Nothing is copied: the bytes must outlive the reader.
    explicit PacketReader(std::span<const std::byte> packet);

    // Whether the packet has a header with the three magic bytes. Nothing is read otherwise.
    bool IsPacket() const { return m_isPacket; }
    uint8_t Version() const { return m_version; }
    uint32_t Encoding() const { return m_encoding; }

    // Returns false at the end; Stop() and Offset() then say why and where.
    bool Next(PacketRecord& record);
    PacketStop Stop() const { return m_stop; }
    size_t Offset() const { return m_offset; }

    // A text in the packet's encoding, up to a zero character; empty where the encoding is not known. Valid
    // until the next one is decoded.
    std::wstring_view Decode(std::span<const std::byte> bytes);

private:
    bool StopWith(PacketStop reason);

    std::span<const std::byte> m_packet;
    bool m_isPacket;
    bool m_isOver;
    uint8_t m_version = 0;
    uint32_t m_encoding = 0;
    size_t m_offset = kPacketHeaderBytes;
    PacketStop m_stop = PacketStop::End;
    std::wstring m_name;
    std::wstring m_text;
};

} // namespace zq
