#include "variables/VariablePacket.h"

#include "CZQVariable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <vector>

namespace zq {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kUtf16 = 0;
constexpr uint32_t kUtf8 = 65001;

// Puts packets together byte by byte, sound or not.
class RawPacket {
public:
    explicit RawPacket(uint32_t encoding) : m_bytes{0xBF, 0xFE, 0xEB, 1} { Number(encoding); }

    RawPacket& Number(uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8) {
            m_bytes.push_back(static_cast<uint8_t>(value >> shift));
        }
        return *this;
    }
    RawPacket& Raw(const Bytes& bytes) {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    RawPacket& Record(uint32_t type, const Bytes& name, const Bytes& value) {
        Number(type).Number(static_cast<uint32_t>(name.size())).Number(static_cast<uint32_t>(value.size()));
        return Raw(name).Raw(value);
    }

    Bytes m_bytes;
};

struct Read {
    uint32_t type;
    std::wstring name;
    Bytes value;
    std::wstring text;
};

struct Reading {
    std::vector<Read> records;
    PacketStop stop;
    size_t offset;
};

Reading ReadAll(const Bytes& bytes) {
    PacketReader reader(std::as_bytes(std::span(bytes)));
    Reading run{};
    PacketRecord record;
    while (reader.Next(record)) {
        Bytes value(record.value.size());
        if (!value.empty()) {
            std::memcpy(value.data(), record.value.data(), value.size());
        }
        run.records.push_back(
            {record.type, std::wstring(record.name), value, std::wstring(reader.Decode(record.value))});
    }
    run.stop = reader.Stop();
    run.offset = reader.Offset();
    return run;
}

Bytes Written(const PacketWriter& writer) {
    Bytes bytes(writer.Size());
    std::memcpy(bytes.data(), writer.Bytes().data(), bytes.size());
    return bytes;
}

bool IsPacket(const Bytes& bytes) { return PacketReader(std::as_bytes(std::span(bytes))).IsPacket(); }

const Bytes kA = {'A', 0};
const Bytes kB = {'B', 0};

TEST(PacketWriter, AnEmptyPacketIsTheEightBytesOfTheHeader) {
    EXPECT_EQ((Bytes{0xBF, 0xFE, 0xEB, 1, 0, 0, 0, 0}), Written(PacketWriter()));
}

TEST(PacketWriter, ARecordIsTypeTwoLengthsNameAndValue) {
    PacketWriter writer;
    const uint8_t value[] = {7, 8, 9};

    writer.Append(99, L"Ab", std::as_bytes(std::span(value)));

    EXPECT_EQ((Bytes{0xBF, 0xFE, 0xEB, 1, 0, 0, 0,   0, 99,  0, 0, 0, 4, 0,
                     0,    0,    3,    0, 0, 0, 'A', 0, 'b', 0, 7, 8, 9}),
              Written(writer));
}

TEST(PacketWriter, TextIsUtf16WhateverTheWidthOfWideCharacters) {
    PacketWriter writer;

    writer.AppendText(VariableTypeString, L"A", L"\u20AC\U0001F600");

    EXPECT_EQ(RawPacket(kUtf16).Record(4, kA, {0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE}).m_bytes, Written(writer));
    EXPECT_EQ(L"\u20AC\U0001F600", ReadAll(Written(writer)).records.at(0).text);
}

TEST(PacketWriter, TheFirstAndTheLastCharacterOfTwoUnitsAndTheOneBeforeThemAreWritten) {
    PacketWriter writer;

    writer.AppendText(VariableTypeString, L"A", L"\uFFFF\U00010000\U0010FFFF");

    EXPECT_EQ(
        RawPacket(kUtf16).Record(4, kA, {0xFF, 0xFF, 0x00, 0xD8, 0x00, 0xDC, 0xFF, 0xDB, 0xFF, 0xDF}).m_bytes,
        Written(writer));
    EXPECT_EQ(L"\uFFFF\U00010000\U0010FFFF", ReadAll(Written(writer)).records.at(0).text);
}

TEST(PacketWriter, KeepsWhatItHoldsWhileItsBufferDoubles) {
    PacketWriter writer;
    std::vector<std::wstring> names;
    for (int i = 0; i < 5000; ++i) {
        names.push_back(L"Name" + std::to_wstring(i));
        writer.Append(VariableTypeInt64, names.back(), std::as_bytes(std::span(&i, 1)));
    }

    const Reading run = ReadAll(Written(writer));

    ASSERT_EQ(names.size(), run.records.size());
    for (size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(names[i], run.records[i].name);
    }
    EXPECT_EQ(PacketStop::End, run.stop);
}

TEST(PacketWriter, ARecordThatFillsTheFirstBufferToTheLastByteAndOneThatDoesNotFit) {
    for (const size_t total : {8191u, 8192u, 8193u, 16384u, 16385u, 100000u}) {
        PacketWriter writer;
        const std::vector<std::byte> value(total - kPacketHeaderBytes - kPacketRecordHeaderBytes - 2,
                                           std::byte{0x5A});

        writer.Append(VariableTypeBinary, L"A", value);

        EXPECT_EQ(total, writer.Size());
        EXPECT_EQ(Bytes(value.size(), 0x5A), ReadAll(Written(writer)).records.at(0).value);
    }
}

TEST(PacketReader, RefusesWhatIsShorterThanAHeaderOrHasOtherMagicBytes) {
    const Bytes header = PacketWriter().Size() == 8 ? Written(PacketWriter()) : Bytes();
    for (size_t length = 0; length < 8; ++length) {
        EXPECT_FALSE(IsPacket(Bytes(header.begin(), header.begin() + static_cast<ptrdiff_t>(length))));
    }
    for (size_t i = 0; i < 3; ++i) {
        Bytes damaged = header;
        damaged[i] ^= 1;
        EXPECT_FALSE(IsPacket(damaged));
        EXPECT_TRUE(ReadAll(damaged).records.empty());
    }
    EXPECT_TRUE(IsPacket(header));
}

TEST(PacketReader, DoesNotLookAtTheVersion) {
    Bytes bytes = RawPacket(kUtf16).Record(1, kA, {1}).m_bytes;
    bytes[3] = 200;

    EXPECT_EQ(1u, ReadAll(bytes).records.size());
}

TEST(PacketReader, StopsAtAnEmptyNameAndKeepsWhatCameBefore) {
    const Reading run =
        ReadAll(RawPacket(kUtf16).Record(1, kA, {1}).Record(1, {}, {1}).Record(1, kB, {1}).m_bytes);

    ASSERT_EQ(1u, run.records.size());
    EXPECT_EQ(L"A", run.records[0].name);
    EXPECT_EQ(PacketStop::BadLength, run.stop);
    EXPECT_EQ(8u + 15u, run.offset);
}

TEST(PacketReader, StopsWhereFewerThanTwelveBytesRemain) {
    for (size_t extra = 0; extra < 12; ++extra) {
        const Reading run = ReadAll(RawPacket(kUtf16).Record(1, kA, {1}).Raw(Bytes(extra, 1)).m_bytes);

        EXPECT_EQ(1u, run.records.size());
        EXPECT_EQ(extra == 0 ? PacketStop::End : PacketStop::Truncated, run.stop);
    }
}

TEST(PacketReader, StopsAtARecordLongerThanTheRest) {
    Bytes bytes = RawPacket(kUtf16).Record(1, kA, {1}).Record(4, kB, {'x', 0}).m_bytes;
    bytes.pop_back();

    const Reading run = ReadAll(bytes);

    EXPECT_EQ(1u, run.records.size());
    EXPECT_EQ(PacketStop::Truncated, run.stop);
}

TEST(PacketReader, LengthsAreSignedAndTheirSumDoesNotWrap) {
    constexpr uint32_t kExtremes[] = {0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFF4};
    for (const uint32_t length : kExtremes) {
        EXPECT_TRUE(ReadAll(RawPacket(kUtf16).Number(1).Number(length).Number(1).Raw(Bytes(64, 'A')).m_bytes)
                        .records.empty());
        EXPECT_TRUE(ReadAll(RawPacket(kUtf16).Number(1).Number(2).Number(length).Raw(Bytes(64, 'A')).m_bytes)
                        .records.empty());
        EXPECT_TRUE(
            ReadAll(RawPacket(kUtf16).Number(1).Number(length).Number(length).Raw(Bytes(64, 'A')).m_bytes)
                .records.empty());
    }
}

TEST(PacketReader, ANegativeValueLengthDoesNotLeadBackIntoTheRecord) {
    const Reading run = ReadAll(
        RawPacket(kUtf16).Number(1).Number(2).Number(static_cast<uint32_t>(-14)).Raw(kA).Raw(kB).m_bytes);

    EXPECT_TRUE(run.records.empty());
    EXPECT_EQ(PacketStop::BadLength, run.stop);
}

TEST(PacketReader, AnOddLastByteOfUtf16IsIgnored) {
    const Reading run = ReadAll(RawPacket(kUtf16).Record(4, {'A', 0, 'x'}, {'v', 0, 'y'}).m_bytes);

    EXPECT_EQ(L"A", run.records.at(0).name);
    EXPECT_EQ(L"v", run.records.at(0).text);
}

TEST(PacketReader, ANameOfOneByteOfUtf16IsEmptyAndStops) {
    EXPECT_EQ(PacketStop::EmptyName, ReadAll(RawPacket(kUtf16).Record(1, {'A'}, {1}).m_bytes).stop);
}

TEST(PacketReader, ReadsUtf8) {
    const Reading run =
        ReadAll(RawPacket(kUtf8).Record(4, {'A', 0xC3, 0xA4}, {0xE2, 0x82, 0xAC, '!'}).m_bytes);

    ASSERT_EQ(1u, run.records.size());
    EXPECT_EQ(L"A\u00E4", run.records[0].name);
    EXPECT_EQ(L"\u20AC!", run.records[0].text);
}

TEST(PacketReader, AnEmptyTextIsTheEmptyStringInEveryEncoding) {
    EXPECT_EQ(L"", ReadAll(RawPacket(kUtf16).Record(4, kA, {}).m_bytes).records.at(0).text);
    EXPECT_EQ(L"", ReadAll(RawPacket(kUtf8).Record(4, {'A'}, {}).m_bytes).records.at(0).text);
}

TEST(PacketReader, AnUnknownEncodingMakesEveryNameEmptyAndStops) {
    for (const uint32_t encoding : {1u, 1200u, 1252u, 65000u, 0xFFFFFFFFu}) {
        const Reading run = ReadAll(RawPacket(encoding).Record(1, kA, {1}).m_bytes);

        EXPECT_TRUE(run.records.empty());
        EXPECT_EQ(PacketStop::EmptyName, run.stop);
    }
}

TEST(PacketReader, NamesAndTextsEndAtAZeroCharacter) {
    const Reading run =
        ReadAll(RawPacket(kUtf16).Record(4, {'A', 0, 0, 0, 'x', 0}, {'v', 0, 0, 0, 'y', 0}).m_bytes);
    EXPECT_EQ(L"A", run.records.at(0).name);
    EXPECT_EQ(L"v", run.records.at(0).text);

    EXPECT_EQ(L"A", ReadAll(RawPacket(kUtf8).Record(1, {'A', 0}, {1}).m_bytes).records.at(0).name);
    EXPECT_EQ(PacketStop::EmptyName, ReadAll(RawPacket(kUtf16).Record(1, {0, 0, 'A', 0}, {1}).m_bytes).stop);
}

TEST(PacketReader, HandsOutUnknownTypesAndShortValuesForTheCallerToSkip) {
    const Reading run =
        ReadAll(RawPacket(kUtf16).Record(0, kA, {}).Record(77, kA, {1}).Record(2, kB, {1, 2}).m_bytes);

    ASSERT_EQ(3u, run.records.size());
    EXPECT_EQ(77u, run.records[1].type);
    EXPECT_EQ(2u, run.records[2].value.size());
}

// Every mutant lies in a block of exactly its size, for the address sanitizer of the native build.
TEST(PacketReader, DamagedPacketsEndWithoutLeavingTheirBytes) {
    std::mt19937 random(20240611);
    Bytes sound = RawPacket(kUtf16)
                      .Record(1, kA, {1})
                      .Record(2, kB, Bytes(8, 3))
                      .Record(4, kA, {'t', 0, 0x3D, 0xD8})
                      .Record(5, kB, Bytes(40, 9))
                      .m_bytes;
    for (int i = 0; i < 20000; ++i) {
        Bytes mutant = sound;
        if (random() % 2 == 0) {
            mutant[4] = 0xE9, mutant[5] = 0xFD;
        }
        for (uint32_t edits = random() % 4; edits > 0; --edits) {
            mutant[random() % mutant.size()] = static_cast<uint8_t>(random());
        }
        mutant.resize(random() % (mutant.size() + 1));
        mutant.shrink_to_fit();

        const Reading run = ReadAll(mutant);

        EXPECT_LE(run.records.size(), mutant.size() / 13);
    }
}

TEST(PacketWriter, LengthsThatTheirFieldsCannotHoldAreRefusedBeforeAnythingIsWritten) {
    constexpr std::byte kByte{};
    for (const size_t length :
         {SIZE_MAX, SIZE_MAX - 11, size_t{1} << 63U, size_t{1} << 32U, size_t{1} << 31U}) {
        PacketWriter writer;
        EXPECT_THROW(writer.Append(5, L"n", std::span(&kByte, length)), std::bad_alloc) << length;
        EXPECT_THROW(writer.Append(5, std::wstring_view(L"n", length / 2), {}), std::bad_alloc) << length;
        EXPECT_EQ(kPacketHeaderBytes, writer.Size());
    }
}

// As a node has it: in bytes, or as it is.
TEST(PacketWriter, NameOfANodeIsWrittenAsAnyOther) {
    const std::array<std::byte, 3> value{std::byte{1}, std::byte{2}, std::byte{3}};
    for (const std::wstring name :
         {L"n", L"abc", L"Name", L"A name of more than eight", L"n\xE9", L"\x540D"}) {
        std::vector<std::byte> kept(name.size() * sizeof(wchar_t));
        const bool isInBytes = NodeName::PutInBytes(kept.data(), name);
        if (!isInBytes) {
            std::memcpy(kept.data(), name.data(), kept.size());
        }
        const NodeName nodeName(kept.data(), name.size(), isInBytes);
        PacketWriter wanted;
        PacketWriter packet(1000000);
        for (int i = 0; i < 2; ++i) { // the second one at an odd offset
            wanted.Append(1, name, value);
            wanted.AppendText(4, name, L"text");
            packet.Append(1, nodeName, value);
            packet.AppendText(4, nodeName, L"text");
        }
        EXPECT_TRUE(std::ranges::equal(wanted.Bytes(), packet.Bytes()));
    }
}

TEST(CountPacketRecords, CountsByTypeUpToTheFirstDamage) {
    PacketWriter writer;
    const std::byte value[8]{};
    for (const uint32_t type : {1U, 2U, 2U, 5U, 77U}) {
        writer.Append(type, L"Name", value);
    }
    writer.AppendText(4, L"Text", L"value");
    std::vector<std::byte> packet(writer.Bytes().begin(), writer.Bytes().end());

    EXPECT_EQ((PacketCounts{{{1, 4}, {1, 4}, {2, 8}, {0, 0}, {1, 4 + 5 * sizeof(wchar_t)}, {1, 4}}}),
              CountPacketRecords(packet));
    EXPECT_EQ(PacketCounts{}, CountPacketRecords({}));
    EXPECT_EQ(PacketCounts{}, CountPacketRecords(std::span(packet).first(kPacketHeaderBytes)));

    packet[kPacketHeaderBytes + 4 + 3] = std::byte{0x80}; // the first name's length is negative
    EXPECT_EQ(PacketCounts{}, CountPacketRecords(packet));
}

} // namespace
} // namespace zq
