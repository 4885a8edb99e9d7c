#include "check/NearestName.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zq {
namespace {

TEST(NearestName, CountsLettersAddedDroppedChangedAndSwapped) {
    EXPECT_EQ(0u, EditDistance(L"Bitrate", L"bitRATE", 3));
    EXPECT_EQ(1u, EditDistance(L"Bitrate", L"Bitrates", 3));
    EXPECT_EQ(1u, EditDistance(L"Bitrate", L"Bitrte", 3));
    EXPECT_EQ(1u, EditDistance(L"Bitrate", L"Bitrete", 3));
    EXPECT_EQ(1u, EditDistance(L"Bitrate", L"Birtate", 3));
    EXPECT_EQ(3u, EditDistance(L"kitten", L"sitting", 5));
    EXPECT_EQ(0u, EditDistance(L"", L"", 0));
    EXPECT_EQ(2u, EditDistance(L"", L"ab", 2));
}

TEST(NearestName, StopsAtTheLimit) {
    EXPECT_EQ(3u, EditDistance(L"Bitrate", L"Dashboard", 2));
    EXPECT_EQ(2u, EditDistance(L"", L"abc", 1));
    // A swap reaches over a row that is beyond the limit.
    EXPECT_EQ(1u, EditDistance(L"ab", L"ba", 1));
}

TEST(NearestName, TakesNumberedNamesForOthers) {
    EXPECT_FALSE(IsMistyped(L"MERIN6", L"MERIN5"));
    EXPECT_TRUE(IsMistyped(L"MERIM5", L"MERIN5"));
    EXPECT_FALSE(IsMistyped(L"MERIN5", L"MERIN5"));
    EXPECT_FALSE(IsMistyped(L"HE", L"HD"));
    EXPECT_TRUE(IsMistyped(L"hd", L"HD"));
}

TEST(NearestName, AllowsMoreDifferencesInALongerName) {
    EXPECT_FALSE(IsMistyped(L"abc", L"abd"));
    EXPECT_TRUE(IsMistyped(L"abcd", L"abcx"));
    EXPECT_FALSE(IsMistyped(L"abcd", L"abxy"));
    EXPECT_TRUE(IsMistyped(L"abcdefg", L"abcdefx"));
    EXPECT_FALSE(IsMistyped(L"abcdefg", L"abcdexy"));
    EXPECT_TRUE(IsMistyped(L"abcdefgh", L"abcdefxy"));
    EXPECT_FALSE(IsMistyped(L"abcdefgh", L"abcdexyz"));
    EXPECT_FALSE(IsMistyped(L"abcdefghijklmnop", L"abcdefghijklmxyz"));
}

TEST(NearestName, ComparesLettersInEitherCaseAndNothingElse) {
    for (wchar_t unit = 1; unit < 0x80; ++unit) {
        const bool isCapital = unit >= L'A' && unit <= L'Z';
        const auto other = static_cast<wchar_t>(unit + 32);
        EXPECT_EQ(isCapital ? 0u : 1u, EditDistance({&unit, 1}, {&other, 1}, 1)) << static_cast<int>(unit);
    }
    for (wchar_t unit = L'!'; unit < 0x7F; ++unit) {
        const bool isDigit = unit >= L'0' && unit <= L'9';
        const std::wstring name = L"name " + std::wstring(1, unit);
        EXPECT_EQ(!isDigit, IsMistyped(name, L"name ")) << static_cast<int>(unit);
    }
}

TEST(NearestName, LooksForNearNamesWithinAThirdOfTheLength) {
    const auto isNear = [](std::wstring_view name, const std::wstring& known) {
        return !NearestNames(name, {known}, 3).empty();
    };
    EXPECT_TRUE(isNear(L"a", L"xy"));
    EXPECT_FALSE(isNear(L"a", L"xyz"));
    EXPECT_TRUE(isNear(L"abcdefgh", L"abcdefxy"));
    EXPECT_FALSE(isNear(L"abcdefgh", L"abcdexyz"));
    EXPECT_TRUE(isNear(L"abcdefghi", L"abcdefxyz"));
    EXPECT_FALSE(isNear(L"abcdefghi", L"abcdewxyz"));
}

TEST(NearestName, GivesANameOnce) {
    EXPECT_EQ(std::vector<std::wstring>{L"Name"}, NearestNames(L"Nam", {L"Name", L"Name"}, 3));
    EXPECT_EQ((std::vector<std::wstring>{L"Mame", L"Name"}), NearestNames(L"ame", {L"Name", L"Mame"}, 3));
}

TEST(NearestName, GivesTheNearestFirst) {
    const std::vector<std::wstring> known = {L"Settings.Bitrates", L"Settings.Bitrate", L"Other"};
    EXPECT_EQ((std::vector<std::wstring>{L"Settings.Bitrate", L"Settings.Bitrates"}),
              NearestNames(L"Settings.Bitrat", known, 3));
    EXPECT_EQ(std::vector<std::wstring>{L"Settings.Bitrate"}, NearestNames(L"Settings.Bitrat", known, 1));
    EXPECT_TRUE(NearestNames(L"x", known, 3).empty());
}

TEST(NearestName, TakesNamesThatHoldThePartForNear) {
    const std::vector<std::wstring> known = {L"Settings.CurrentBitrate", L"Settings.ServerName", L"Bitrate"};
    EXPECT_EQ((std::vector<std::wstring>{L"Bitrate", L"Settings.CurrentBitrate"}),
              NearestNames(L"bitrate", known, 3));
}

} // namespace
} // namespace zq
