#include "VariableListing.h"

#include "Failure.h"

#include <gtest/gtest.h>

#include <cstring>

namespace zq::tool {
namespace {

using Bytes = std::vector<uint8_t>;

template <class Value>
Bytes BytesOf(const Value& value) {
    Bytes bytes(sizeof(value));
    std::memcpy(bytes.data(), &value, sizeof(value));
    return bytes;
}

Bytes BytesOf(const std::wstring& text) {
    Bytes bytes(text.size() * sizeof(wchar_t));
    std::memcpy(bytes.data(), text.data(), bytes.size());
    return bytes;
}

void Append(Bytes& packet, const Bytes& bytes) { packet.insert(packet.end(), bytes.begin(), bytes.end()); }

Bytes EmptyPacket() { return {0xBF, 0xFE, 0xEB, 1, 0, 0, 0, 0}; }

void AppendRecord(Bytes& packet, uint32_t type, const std::wstring& name, const Bytes& data) {
    Append(packet, BytesOf(type));
    Append(packet, BytesOf(static_cast<uint32_t>(name.size() * sizeof(wchar_t))));
    Append(packet, BytesOf(static_cast<uint32_t>(data.size())));
    Append(packet, BytesOf(name));
    Append(packet, data);
}

// A module whose only working slot gives out a packet.
class PackingModule : public CZQVariable {
public:
    explicit PackingModule(Bytes packet) : m_packet(std::move(packet)) {}

    void* PackAllVariables(size_t* packetSize) override;

private:
    Bytes m_packet;
};

extern "C" __declspec(dllimport) void* __stdcall HeapAlloc(void* heap, unsigned long flags, size_t size);
extern "C" __declspec(dllimport) void* __stdcall GetProcessHeap(void);

void* PackingModule::PackAllVariables(size_t* packetSize) {
    void* const packet = HeapAlloc(GetProcessHeap(), 0, m_packet.size());
    std::memcpy(packet, m_packet.data(), m_packet.size());
    *packetSize = m_packet.size();
    return packet;
}

TEST(VariableListing, DecodesEachType) {
    Bytes packet = EmptyPacket();
    AppendRecord(packet, 1, L"B", {2});
    AppendRecord(packet, 2, L"I", BytesOf(int64_t{-7}));
    AppendRecord(packet, 3, L"D", BytesOf(0.5));
    AppendRecord(packet, 4, L"S", BytesOf(std::wstring(L"text")));
    AppendRecord(packet, 5, L"X", {1, 0, 255});

    const std::vector<Variable> expected = {{L"B", ZQBool{2}},
                                            {L"I", int64_t{-7}},
                                            {L"D", 0.5},
                                            {L"S", std::wstring(L"text")},
                                            {L"X", Bytes{1, 0, 255}}};
    EXPECT_EQ(expected, DecodePacket(packet));
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(i + 1, expected[i].Type());
    }
}

TEST(VariableListing, HeaderAloneHoldsNothing) { EXPECT_TRUE(DecodePacket(EmptyPacket()).empty()); }

TEST(VariableListing, RefusesEveryPrefixOfAPacket) {
    Bytes packet = EmptyPacket();
    AppendRecord(packet, 4, L"Name", BytesOf(std::wstring(L"text")));

    for (size_t length = 0; length < packet.size(); ++length) {
        if (length != EmptyPacket().size()) {
            EXPECT_THROW(DecodePacket(std::span(packet).first(length)), Failure) << length;
        }
    }
}

TEST(VariableListing, RefusesWhatIsNoPacket) {
    Bytes wrongMagic = EmptyPacket();
    wrongMagic[2] = 0;
    Bytes wrongEncoding = EmptyPacket();
    wrongEncoding[4] = 1;
    AppendRecord(wrongEncoding, 1, L"A", {1});
    Bytes wrongType = EmptyPacket();
    AppendRecord(wrongType, 6, L"A", {});
    Bytes wrongLength = EmptyPacket();
    AppendRecord(wrongLength, 2, L"A", {1});

    EXPECT_THROW(DecodePacket(wrongMagic), Failure);
    EXPECT_THROW(DecodePacket(wrongEncoding), Failure);
    EXPECT_THROW(DecodePacket(wrongType), Failure);
    EXPECT_THROW(DecodePacket(wrongLength), Failure);
}

TEST(VariableListing, SortsByNameThenType) {
    Bytes packet = EmptyPacket();
    AppendRecord(packet, 3, L"b", BytesOf(1.0));
    AppendRecord(packet, 2, L"b", BytesOf(int64_t{1}));
    AppendRecord(packet, 1, L"a", {1});
    AppendRecord(packet, 4, L"Z", {});
    PackingModule module(packet);

    const std::vector<Variable> expected = {
        {L"Z", std::wstring()}, {L"a", ZQBool{1}}, {L"b", int64_t{1}}, {L"b", 1.0}};
    EXPECT_EQ(expected, ListVariables(module));
}

} // namespace
} // namespace zq::tool
