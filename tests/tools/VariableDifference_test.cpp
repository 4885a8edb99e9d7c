#include "VariableDifference.h"

#include <gtest/gtest.h>

#include <limits>

namespace zq::tool {
namespace {

const Variable kBitrate = {L"Bitrate", int64_t{70}};
const Variable kFasterBitrate = {L"Bitrate", int64_t{100}};
const Variable kBitrateDouble = {L"Bitrate", 70.0};
const Variable kName = {L"Name", std::wstring(L"Lumo")};
const Variable kNaN = {L"NaN", std::numeric_limits<double>::quiet_NaN()};

TEST(VariableDifference, IsEmptyForEqualListings) {
    EXPECT_TRUE(Difference({kBitrate, kName, kNaN}, {kBitrate, kName, kNaN}).empty());
}

TEST(VariableDifference, TellsOldAndNewValue) {
    const auto changes = Difference({kBitrate, kName}, {kFasterBitrate, kName});

    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ("Bitrate (integer): 70 -> 100", ChangeText(changes[0]));
}

TEST(VariableDifference, TellsNewAndGoneVariables) {
    const auto changes = Difference({kBitrate}, {kName});

    ASSERT_EQ(2u, changes.size());
    EXPECT_EQ("Bitrate (integer): 70 -> (gone)", ChangeText(changes[0]));
    EXPECT_EQ("Name (string): (new) -> \"Lumo\"", ChangeText(changes[1]));
}

TEST(VariableDifference, KeepsTheTypesOfOneNameApart) {
    const auto changes = Difference({kBitrate, kBitrateDouble}, {kBitrate});

    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ(VariableTypeDouble, changes[0].type);
}

} // namespace
} // namespace zq::tool
