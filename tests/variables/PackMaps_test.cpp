#include "variables/PackMaps.h"

#include "CZQVariable.h"
#include "variables/VariableBatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>
#include <vector>

namespace zq::test {
namespace {

struct PackedVariable {
    uint32_t type;
    std::wstring name;
    std::wstring text; // of a string
    int64_t bits;      // of a value of up to eight bytes
    size_t bytes;      // of the value
    bool operator==(const PackedVariable&) const = default;
};

std::vector<PackedVariable> Packed(const VariableMaps& maps) {
    const PacketWriter packet = PackMaps(maps);
    PacketReader reader(packet.Bytes());
    std::vector<PackedVariable> variables;
    for (PacketRecord record; reader.Next(record);) {
        int64_t bits = 0;
        std::memcpy(&bits, record.value.data(), std::min(record.value.size(), sizeof(bits)));
        const bool isText = record.type == VariableTypeString;
        variables.push_back({record.type, std::wstring(record.name),
                             isText ? std::wstring(reader.Decode(record.value)) : L"", isText ? 0 : bits,
                             record.value.size()});
    }
    EXPECT_EQ(PacketStop::End, reader.Stop());
    return variables;
}

int64_t BitsOf(double value) { return std::bit_cast<int64_t>(value); }

TEST(PackMaps, OfEmptyMapsIsTheHeader) { EXPECT_EQ(kPacketHeaderBytes, PackMaps(VariableMaps()).Size()); }

TEST(PackMaps, GoMapByMapAndWithinEachInTheOrderOfTheBatch) {
    VariableBatch batch;
    batch.AddString(L"s", L"text");
    batch.AddDouble(L"d", 0.5);
    batch.AddNumber(L"both", -7);
    batch.AddBool(L"b", 1);
    batch.AddInt64(L"i", INT64_MIN);
    batch.AddString(L"empty", L"");
    VariableMaps maps;
    maps.Apply(batch);
    const char block[] = "0123456789";
    maps.binaries.FindOrAdd(L"x", HashName(L"x")).first->value = BinaryBlock::Make(block, sizeof(block));

    const std::vector<PackedVariable> expected = {
        {VariableTypeBool, L"b", L"", 1, 1},
        {VariableTypeInt64, L"both", L"", -7, 8},
        {VariableTypeInt64, L"i", L"", INT64_MIN, 8},
        {VariableTypeDouble, L"d", L"", BitsOf(0.5), 8},
        {VariableTypeDouble, L"both", L"", BitsOf(-7), 8},
        {VariableTypeString, L"s", L"text", 0, 8},
        {VariableTypeString, L"empty", L"", 0, 0},
        {VariableTypeBinary, L"x", L"", 0x3736353433323130, sizeof(block)},
    };
    EXPECT_EQ(expected, Packed(maps));
    maps.RemoveBinaries();
}

// However the maps keep a name: in bytes, as it is, or after a beginning that it shares with others.
TEST(PackMaps, NamesAreWhole) {
    const std::wstring start(kSharedPrefixUnits + 3, L'p');
    const std::vector<std::wstring> names = {L"in bytes", L"as it is: \x4E2D", start + L".a",
                                             start + L".\x4E2D", std::wstring(700, L'l')};
    VariableBatch batch(VariableBatch::Names::SharePrefixes);
    for (const std::wstring& name : names) {
        const bool isShared = name.starts_with(start);
        batch.UsePrefix(isShared ? batch.MakePrefix(start) : nullptr);
        batch.AddBool(name, 1);
        batch.AddNumber(name, 2);
        batch.AddString(name, L"text");
    }
    VariableMaps maps;
    maps.Apply(batch);
    size_t met = 0;
    for (const PackedVariable& variable : Packed(maps)) {
        met += std::ranges::find(names, variable.name) != names.end() ? 1U : 0U;
    }
    EXPECT_EQ(4 * names.size(), met);
}

} // namespace
} // namespace zq::test
