#include "variables/NumberMap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <string>

namespace zq {
namespace {

template <class Value>
bool Set(NumberMap& map, std::wstring_view name, Value value) {
    return map.Set(name, HashName(name), value);
}

NumberMap::Node* FindAny(const NumberMap& map, std::wstring_view name) {
    return map.Find(name, HashName(name), Number::kWhole);
}

void AddWhole(NumberMap& map, std::wstring_view name, int64_t value) {
    map.Add(name, HashName(name), nullptr, Number::Whole(value));
}

template <class Half>
auto AllOf(const Half& half) {
    std::map<std::wstring, double> all;
    half.ForEach([&](std::wstring_view name, auto value) {
        EXPECT_TRUE(all.emplace(name, static_cast<double>(value)).second);
    });
    EXPECT_EQ(all.size(), half.Size());
    size_t units = 0;
    for (const auto& [name, value] : all) {
        units += name.size();
    }
    EXPECT_EQ(units, half.NameUnits());
    return all;
}

TEST(NumberMap, IntegersAndDoublesAreTwoNameSpaces) {
    NumberMap map;
    EXPECT_TRUE(Set(map, L"a", int64_t{1}));
    EXPECT_TRUE(Set(map, L"b", 2.5));
    EXPECT_FALSE(map.Doubles().Find(L"a", HashName(L"a")).has_value());
    EXPECT_FALSE(map.Integers().Find(L"b", HashName(L"b")).has_value());
    EXPECT_FALSE(map.Integers().Find(L"c", HashName(L"c")).has_value());

    EXPECT_TRUE(Set(map, L"a", 3.5));
    EXPECT_EQ(1, *map.Integers().Find(L"a", HashName(L"a")));
    EXPECT_EQ(3.5, *map.Doubles().Find(L"a", HashName(L"a")));
    EXPECT_EQ((std::map<std::wstring, double>{{L"a", 1}}), AllOf(map.Integers()));
    EXPECT_EQ((std::map<std::wstring, double>{{L"a", 3.5}, {L"b", 2.5}}), AllOf(map.Doubles()));
}

TEST(NumberMap, ChangeOfOneHalfLeavesTheOther) {
    NumberMap map;
    AddWhole(map, L"a", 5);
    EXPECT_TRUE(Set(map, L"a", int64_t{6}));
    EXPECT_EQ(5.0, *map.Doubles().Find(L"a", HashName(L"a")));
    EXPECT_TRUE(Set(map, L"a", 7.5));
    EXPECT_EQ(6, *map.Integers().Find(L"a", HashName(L"a")));
}

// A zero that was never set is no value that is held already.
TEST(NumberMap, ZeroIsNewWhereThereWasNone) {
    NumberMap map;
    EXPECT_TRUE(Set(map, L"a", 1.0));
    EXPECT_TRUE(Set(map, L"a", int64_t{0}));
    EXPECT_FALSE(Set(map, L"a", int64_t{0}));
    EXPECT_TRUE(Set(map, L"b", int64_t{1}));
    EXPECT_TRUE(Set(map, L"b", 0.0));
    EXPECT_FALSE(Set(map, L"b", -0.0));
}

TEST(NumberMap, NotANumberIsAnotherValueEachTime) {
    NumberMap map;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(Set(map, L"a", nan));
    EXPECT_TRUE(Set(map, L"a", nan));
    EXPECT_TRUE(std::isnan(*map.Doubles().Find(L"a", HashName(L"a"))));
}

TEST(NumberMap, WholeNumberHasOneEntryUntilOneHalfChanges) {
    NumberMap map;
    AddWhole(map, L"a", 5);
    const NumberMap::Node* node = FindAny(map, L"a");
    EXPECT_FALSE(Set(map, L"a", int64_t{5}));
    EXPECT_FALSE(Set(map, L"a", 5.0));
    EXPECT_EQ(node, map.Find(L"a", HashName(L"a"), Number::kInteger));
    EXPECT_EQ(node, map.Find(L"a", HashName(L"a"), Number::kReal));

    EXPECT_TRUE(Set(map, L"a", 5.5));
    EXPECT_EQ(node, map.Find(L"a", HashName(L"a"), Number::kReal));
    EXPECT_NE(node, map.Find(L"a", HashName(L"a"), Number::kInteger));
    EXPECT_EQ(5, *map.Integers().Find(L"a", HashName(L"a")));
    EXPECT_EQ(1U, map.Integers().Size());
    EXPECT_EQ(1U, map.Doubles().NameUnits());
}

TEST(NumberMap, ExchangeGivesBackWhatWasThere) {
    NumberMap map;
    Set(map, L"a", int64_t{1});
    NumberMap::Node* node = FindAny(map, L"a");

    const Number before = map.Exchange(node, Number::Whole(9));
    EXPECT_EQ(Number::Of(int64_t{1}), before);
    EXPECT_EQ(1U, map.Doubles().Size());

    map.Exchange(node, before);
    EXPECT_FALSE(map.Doubles().Find(L"a", HashName(L"a")).has_value());
    EXPECT_EQ(0U, map.Doubles().Size());
    EXPECT_EQ(0U, map.Doubles().NameUnits());
}

TEST(Number, IsSameBitByBit) {
    EXPECT_NE(Number::Of(0.0), Number::Of(-0.0));
    EXPECT_NE(Number::Of(0.0), Number::Of(int64_t{0}));
    EXPECT_NE(Number::Of(int64_t{4}), Number::Whole(4));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Number::Of(nan), Number::Of(nan));
}

TEST(Number, HalvesOfAWholeOne) {
    const Number whole = Number::Whole(INT64_MAX);
    EXPECT_EQ(Number::Of(INT64_MAX), whole.Without(Number::kReal));
    EXPECT_EQ(Number::Of(static_cast<double>(INT64_MAX)), whole.Without(Number::kInteger));
    EXPECT_FALSE(Number::Of(1.5).As<int64_t>().has_value());
    EXPECT_FALSE(Number::Of(int64_t{1}).As<double>().has_value());
}

TEST(NumberMap, RemovedAndClearedNumbersAreNotCounted) {
    NumberMap map;
    AddWhole(map, L"abc", 1);
    AddWhole(map, std::wstring(1000, L'n'), 2);
    map.Remove(FindAny(map, L"abc"));
    EXPECT_EQ(1U, map.Integers().Size());
    EXPECT_EQ(1000U, map.Doubles().NameUnits());
    EXPECT_EQ(1U, AllOf(map.Doubles()).size());

    map.Clear();
    EXPECT_EQ(0U, map.Integers().Size());
    EXPECT_EQ(0U, map.Doubles().NameUnits());
    EXPECT_TRUE(AllOf(map.Integers()).empty());
}

TEST(NumberMap, AgreesWithTwoOrderedMapsOverRandomOperations) {
    std::mt19937_64 random(5);
    NumberMap map;
    std::map<std::wstring, double> integers;
    std::map<std::wstring, double> doubles;
    for (int i = 0; i < 30000; ++i) {
        const std::wstring name = L"n" + std::to_wstring(random() % 500);
        const auto value = static_cast<int64_t>(random() % 4);
        switch (random() % 4) {
        case 0:
            EXPECT_EQ(!integers.contains(name) || integers[name] != static_cast<double>(value),
                      Set(map, name, value));
            integers[name] = static_cast<double>(value);
            break;
        case 1:
            Set(map, name, static_cast<double>(value) / 2);
            doubles[name] = static_cast<double>(value) / 2;
            break;
        default:
            while (NumberMap::Node* node = FindAny(map, name)) {
                map.Remove(node);
            }
            integers.erase(name);
            doubles.erase(name);
            if (random() % 2 == 0) {
                AddWhole(map, name, value);
                integers[name] = doubles[name] = static_cast<double>(value);
            }
        }
    }
    EXPECT_EQ(integers, AllOf(map.Integers()));
    EXPECT_EQ(doubles, AllOf(map.Doubles()));
}

} // namespace
} // namespace zq
