#include "variables/VariablePacket.h"

#include "CZQVariable.h"
#include "base/ShortCopy.h"
#include "base/Text.h"
#include "variables/StoredText.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace zq {

namespace {

static_assert(std::endian::native == std::endian::little, "numbers are copied as they lie in memory");

constexpr std::array<std::byte, 3> kMagic = {std::byte{0xBF}, std::byte{0xFE}, std::byte{0xEB}};
constexpr std::byte kVersion{1};
constexpr uint32_t kEncodingUtf16 = 0;
constexpr size_t kFirstCapacity = 8192;

// A negative length of the value would lead back into the name, or for ever round the same record.
bool HasBadLength(int32_t nameBytes, int32_t valueBytes) { return nameBytes <= 0 || valueBytes < 0; }

template <class Number>
std::byte* Put(std::byte* out, Number value) {
    std::memcpy(out, &value, sizeof(value));
    return out + sizeof(value);
}

template <class Number>
Number Get(const std::byte* in) {
    Number value;
    std::memcpy(&value, in, sizeof(value));
    return value;
}

bool NeedsSurrogates(uint32_t point) { return point > 0xFFFF; }

constexpr bool kIsWideUtf16 = sizeof(wchar_t) == sizeof(char16_t);

size_t Utf16Bytes(std::wstring_view text) {
    if constexpr (kIsWideUtf16) {
        return text.size() * sizeof(char16_t);
    }
    const auto wide = std::count_if(text.begin(), text.end(), NeedsSurrogates);
    return (text.size() + static_cast<size_t>(wide)) * sizeof(char16_t);
}

std::byte* PutUtf16(std::byte* out, std::wstring_view text) {
    if constexpr (kIsWideUtf16) {
        CopyShort(out, text.data(), text.size() * sizeof(char16_t));
        return out + text.size() * sizeof(char16_t);
    }
    for (const wchar_t c : text) {
        const auto point = static_cast<uint32_t>(c);
        if (NeedsSurrogates(point)) {
            out = Put(out, static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10U)));
            out = Put(out, static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FFU)));
        } else {
            out = Put(out, static_cast<char16_t>(point));
        }
    }
    return out;
}

// An odd last byte is ignored. Where wide characters have 32 bits, surrogate pairs are joined.
void AssignUtf16(std::wstring& text, std::span<const std::byte> bytes) {
    const size_t units = bytes.size() / sizeof(char16_t);
    if constexpr (kIsWideUtf16) {
        text.resize(units);
        CopyShort(text.data(), bytes.data(), units * sizeof(char16_t));
        return;
    }
    text.clear();
    for (size_t i = 0; i < units; ++i) {
        const auto unit = Get<char16_t>(bytes.data() + i * sizeof(char16_t));
        const auto next =
            i + 1 < units ? Get<char16_t>(bytes.data() + (i + 1) * sizeof(char16_t)) : char16_t{0};
        if (unit >= 0xD800 && unit < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            text += static_cast<wchar_t>(0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00));
            ++i;
        } else {
            text += static_cast<wchar_t>(unit);
        }
    }
}

// The interface takes names and texts up to a zero character; what a packet holds after one could not be
// read through it.
void AssignText(std::wstring& text, uint32_t encoding, std::span<const std::byte> bytes) {
    if (encoding == kEncodingUtf16) {
        AssignUtf16(text, bytes);
    } else if (encoding == kCodePageUtf8) {
        text = DecodeFileText(kCodePageUtf8, reinterpret_cast<const char*>(bytes.data()),
                              static_cast<int32_t>(bytes.size()));
    } else {
        text.clear();
    }
    text.resize(std::min(text.find(L'\0'), text.size()));
}

// A capacity, doubled until `bytes` more fit.
size_t CapacityFor(size_t capacity, size_t used, size_t bytes) {
    while (bytes > capacity - used) {
        if (capacity > SIZE_MAX / 2) {
            throw std::bad_alloc();
        }
        capacity *= 2;
    }
    return capacity;
}

} // namespace

PacketWriter::PacketWriter(size_t expectedBytes)
    : m_capacity(CapacityFor(kFirstCapacity, kPacketHeaderBytes, expectedBytes)), m_size(kPacketHeaderBytes) {
    m_buffer = std::make_unique_for_overwrite<std::byte[]>(m_capacity);
    std::byte* out = std::copy(kMagic.begin(), kMagic.end(), m_buffer.get());
    *out++ = kVersion;
    Put(out, kEncodingUtf16);
}

void PacketWriter::Reserve(size_t bytes) {
    const size_t capacity = CapacityFor(m_capacity, m_size, bytes);
    if (capacity != m_capacity) {
        auto larger = std::make_unique_for_overwrite<std::byte[]>(capacity);
        std::memcpy(larger.get(), m_buffer.get(), m_size);
        m_buffer = std::move(larger);
        m_capacity = capacity;
    }
}

std::byte* PacketWriter::AppendHeader(uint32_t type, size_t nameBytes, size_t valueBytes) {
    constexpr size_t kMostBytes = std::numeric_limits<int32_t>::max(); // both lengths are signed when read
    if (nameBytes > kMostBytes || valueBytes > kMostBytes) {
        throw std::bad_alloc();
    }
    const size_t recordBytes = kPacketRecordHeaderBytes + nameBytes + valueBytes;
    Reserve(recordBytes);
    std::byte* out = m_buffer.get() + m_size;
    out = Put(out, type);
    out = Put(out, static_cast<uint32_t>(nameBytes));
    out = Put(out, static_cast<uint32_t>(valueBytes));
    m_size += recordBytes;
    return out;
}

std::byte* PacketWriter::AppendName(uint32_t type, std::wstring_view name, size_t valueBytes) {
    constexpr size_t kMostUnits = std::numeric_limits<int32_t>::max() / sizeof(char16_t);
    if (name.size() > kMostUnits) { // without a look at it
        throw std::bad_alloc();
    }
    return PutUtf16(AppendHeader(type, Utf16Bytes(name), valueBytes), name);
}

std::byte* PacketWriter::AppendName(uint32_t type, const NodeName& name, size_t valueBytes) {
    if constexpr (kIsWideUtf16) {
        const size_t nameBytes = name.size() * sizeof(char16_t);
        std::byte* out = AppendHeader(type, nameBytes, valueBytes);
        name.CopyTo(out);
        return out + nameBytes;
    }
    std::wstring whole(name.size(), L'\0');
    name.CopyTo(whole.data());
    return AppendName(type, whole, valueBytes);
}

void PacketWriter::Append(uint32_t type, std::wstring_view name, std::span<const std::byte> value) {
    CopyShort(AppendName(type, name, value.size()), value.data(), value.size());
}

void PacketWriter::AppendText(uint32_t type, std::wstring_view name, std::wstring_view text) {
    PutUtf16(AppendName(type, name, Utf16Bytes(text)), text);
}

void PacketWriter::Append(uint32_t type, const NodeName& name, std::span<const std::byte> value) {
    CopyShort(AppendName(type, name, value.size()), value.data(), value.size());
}

void PacketWriter::AppendText(uint32_t type, const NodeName& name, std::wstring_view text) {
    PutUtf16(AppendName(type, name, Utf16Bytes(text)), text);
}

PacketCounts CountPacketRecords(std::span<const std::byte> packet) {
    PacketCounts counts{};
    size_t offset = kPacketHeaderBytes;
    while (offset < packet.size() && packet.size() - offset >= kPacketRecordHeaderBytes) {
        const std::byte* record = packet.data() + offset;
        const auto type = Get<uint32_t>(record);
        const auto nameBytes = Get<int32_t>(record + 4);
        const auto valueBytes = Get<int32_t>(record + 8);
        if (HasBadLength(nameBytes, valueBytes)) {
            break;
        }
        ExpectedEntries& expected = counts[type < counts.size() ? type : 0];
        ++expected.count;
        expected.bytes += static_cast<size_t>(nameBytes) / sizeof(char16_t); // a node keeps it in bytes
        if (type == VariableTypeString) {
            expected.bytes +=
                StoredText::RoomFor(static_cast<size_t>(valueBytes) / sizeof(char16_t)) * sizeof(wchar_t);
        }
        offset += kPacketRecordHeaderBytes + static_cast<size_t>(nameBytes) + static_cast<size_t>(valueBytes);
    }
    return counts;
}

PacketReader::PacketReader(std::span<const std::byte> packet)
    : m_packet(packet), m_isPacket(packet.size() >= kPacketHeaderBytes &&
                                   std::equal(kMagic.begin(), kMagic.end(), packet.begin())),
      m_isOver(!m_isPacket) {
    if (m_isPacket) {
        m_version = static_cast<uint8_t>(packet[kMagic.size()]);
        m_encoding = Get<uint32_t>(packet.data() + kMagic.size() + sizeof(kVersion));
    }
}

bool PacketReader::StopWith(PacketStop reason) {
    m_stop = reason;
    m_isOver = true;
    return false;
}

bool PacketReader::Next(PacketRecord& record) {
    if (m_isOver) {
        return false;
    }
    const std::span<const std::byte> rest = m_packet.subspan(m_offset);
    if (rest.size() < kPacketRecordHeaderBytes) {
        return StopWith(rest.empty() ? PacketStop::End : PacketStop::Truncated);
    }
    const auto nameBytes = Get<int32_t>(rest.data() + 4);
    const auto valueBytes = Get<int32_t>(rest.data() + 8);
    const int64_t recordBytes = int64_t{kPacketRecordHeaderBytes} + nameBytes + valueBytes;
    if (recordBytes > static_cast<int64_t>(rest.size())) {
        return StopWith(PacketStop::Truncated);
    }
    if (HasBadLength(nameBytes, valueBytes)) {
        return StopWith(PacketStop::BadLength);
    }
    AssignText(m_name, m_encoding, rest.subspan(kPacketRecordHeaderBytes, static_cast<size_t>(nameBytes)));
    if (m_name.empty()) {
        return StopWith(PacketStop::EmptyName);
    }
    record.type = Get<uint32_t>(rest.data());
    record.name = m_name;
    record.value = rest.subspan(kPacketRecordHeaderBytes + static_cast<size_t>(nameBytes),
                                static_cast<size_t>(valueBytes));
    record.offset = m_offset;
    m_offset += static_cast<size_t>(recordBytes);
    return true;
}

std::wstring_view PacketReader::Decode(std::span<const std::byte> bytes) {
    m_text.clear();
    if (!bytes.empty()) {
        AssignText(m_text, m_encoding, bytes);
    }
    return m_text;
}

} // namespace zq
