#include "variables/NameHash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace zq {
namespace {

TEST(NameHash, DependsOnEveryUnitAndOnTheKeys) {
    for (size_t length = 1; length < 40; ++length) {
        const std::wstring name(length, L'n');
        for (size_t place = 0; place < length; ++place) {
            std::wstring other = name;
            other[place] = L'm';
            EXPECT_NE(HashName(name), HashName(other)) << length << ' ' << place;
        }
        EXPECT_NE(HashName(name), HashName(name, NameKeys(2)));
        EXPECT_NE(HashName(name), HashName(name + L'\0'));
    }
}

// However a name is cut, with each piece as long as a block, shorter and longer.
TEST(NameHash, OfPiecesIsThatOfTheWhole) {
    const std::wstring name = L"a name of forty units, in several pieces";
    for (size_t first = 0; first <= name.size(); ++first) {
        for (size_t second = first; second <= name.size(); ++second) {
            NameHasher hasher;
            size_t taken = hasher.Take(std::wstring_view(name).substr(0, first));
            taken += hasher.Take(std::wstring_view(name).substr(taken, second - taken));
            EXPECT_EQ(HashName(name), hasher.Finish(std::wstring_view(name).substr(taken)));
        }
    }
}

// A factor of zero would make a product forget the other one: blocks that are zero after the key, under keys
// that an author knows, do so; under those of the process they do not.
TEST(NameHash, NamesThatCollideUnderKnownKeysDoNotUnderOthers) {
    const NameKeys known(3);
    std::wstring zero(sizeof(known.second) / sizeof(wchar_t), L'\0');
    std::memcpy(zero.data(), &known.second, sizeof(known.second));
    std::set<uint32_t> underKnown;
    std::set<uint32_t> underOthers;
    for (wchar_t unit = L'a'; unit <= L'z'; ++unit) {
        const std::wstring name = zero + std::wstring(zero.size(), unit);
        underKnown.insert(HashName(name, known));
        underOthers.insert(HashName(name));
    }
    EXPECT_EQ(1U, underKnown.size());
    EXPECT_EQ(26U, underOthers.size());
}

TEST(NameHash, KeysOfTwoSeedsDiffer) {
    std::set<uint64_t> keys;
    for (uint64_t seed = 0; seed < 100; ++seed) {
        keys.insert(NameKeys(seed).first);
        keys.insert(NameKeys(seed).second);
    }
    EXPECT_EQ(200U, keys.size());
}

TEST(NameHash, SpreadsOverTheBuckets) {
    constexpr size_t kBuckets = 1024;
    std::vector<int> counts(kBuckets);
    for (int i = 0; i < 64 * static_cast<int>(kBuckets); ++i) {
        const uint32_t hash = HashName(L"CL.MERIN5." + std::to_wstring(i));
        ++counts[uint64_t{hash} * kBuckets >> 32U];
    }
    EXPECT_LT(20, *std::min_element(counts.begin(), counts.end()));
    EXPECT_GT(140, *std::max_element(counts.begin(), counts.end()));
}

} // namespace
} // namespace zq
