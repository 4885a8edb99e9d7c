#include "check/NearestName.h"

#include <gtest/gtest.h>

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
