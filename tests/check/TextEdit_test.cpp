#include "check/TextEdit.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

TEST(EditedText, AppliesEditsInTheOrderOfTheirOffsets) {
    EXPECT_EQ(L"aXcdYZ", EditedText(L"abcde", {{4, 5, L"YZ"}, {1, 2, L"X"}}).Text());
    EXPECT_EQ(L"12ab", EditedText(L"ab", {{0, 0, L"1"}, {0, 0, L"2"}}).Text());
    EXPECT_EQ(L"ab", EditedText(L"ab", {}).Text());
    EXPECT_EQ(L"ab!", EditedText(L"ab", {{2, 2, L"!"}}).Text());
}

TEST(EditedText, DropsAnEditThatOverlapsAnEarlierOne) {
    EXPECT_EQ(L"aXd", EditedText(L"abcd", {{1, 3, L"X"}, {2, 4, L"Y"}}).Text());
}

TEST(EditedText, FindsTheWayBack) {
    const EditedText edited(L"abcdef", {{1, 3, L"XYZ"}, {5, 5, L"!"}}); // aXYZde!f
    EXPECT_EQ(0, edited.OriginalOffset(0));
    EXPECT_EQ(1, edited.OriginalOffset(1));
    EXPECT_EQ(1, edited.OriginalOffset(3));
    EXPECT_EQ(3, edited.OriginalOffset(4));
    EXPECT_EQ(5, edited.OriginalOffset(6));
    EXPECT_EQ(5, edited.OriginalOffset(7));
    EXPECT_EQ(6, edited.OriginalOffset(8));
}

} // namespace
} // namespace zq::test
