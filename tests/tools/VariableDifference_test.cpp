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

TEST(VariableDifference, ReportsOldAndNewValue) {
    const auto changes = Difference({kBitrate, kName}, {kFasterBitrate, kName});

    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ("Bitrate (integer): 70 -> 100", ChangeText(changes[0]));
}

TEST(VariableDifference, ReportsNewAndGoneVariables) {
    const auto changes = Difference({kBitrate}, {kName});

    ASSERT_EQ(2u, changes.size());
    EXPECT_EQ("Bitrate (integer): 70 -> (gone)", ChangeText(changes[0]));
    EXPECT_EQ("Name (string): (new) -> \"Lumo\"", ChangeText(changes[1]));
}

TEST(VariableDifference, KeepsTheTypesOfOneNameApart) {
    const auto changes = Difference({kBitrate, kBitrateDouble}, {kBitrate});

    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ(std::vector{VariableTypeDouble}, changes[0].types);
}

TEST(VariableDifference, IsOneForAnIntegerAndADoubleOfOneNumber) {
    const Variable fasterDouble = {L"Bitrate", 100.0};

    const auto changes = Difference({kBitrate, kBitrateDouble}, {kFasterBitrate, fasterDouble});

    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ("Bitrate (integer, double): 70 -> 100", ChangeText(changes[0]));
    EXPECT_EQ("Bitrate (integer, double): (new) -> 70",
              ChangeText(Difference({}, {kBitrate, kBitrateDouble}).at(0)));
    EXPECT_EQ(2u, Difference({kBitrate, kBitrateDouble}, {kFasterBitrate, {L"Bitrate", 100.5}}).size());
    EXPECT_EQ(2u, Difference({kBitrate}, {kFasterBitrate, fasterDouble}).size());
}

TEST(VariableDifference, TakesTheVariablesOfSomeNamesOnly) {
    const Variable name = {L"Name", std::wstring(L"Lumo 2")};
    const std::vector<Variable> before = {kBitrate, kBitrateDouble, kName};
    const std::vector<Variable> after = {{L"Added", ZQBool{true}}, kFasterBitrate, name};

    EXPECT_EQ(before, WithNames(before, after, {}));
    EXPECT_EQ((std::vector<Variable>{kFasterBitrate, kName}), WithNames(before, after, {L"Bitrate"}));
    EXPECT_EQ((std::vector<Variable>{kBitrate, kBitrateDouble, name}), WithNames(before, after, {L"Name"}));
    EXPECT_EQ(after, WithNames(before, after, {L"Added", L"Bitrate", L"Name"}));
    EXPECT_EQ((std::vector<Variable>{{L"Added", ZQBool{true}}, kBitrate, kBitrateDouble}),
              WithNames(before, {{L"Added", ZQBool{true}}}, {L"Added", L"Name"}));
}

} // namespace
} // namespace zq::tool
