#include "sysinfo/SaturatingInteger.h"

#include <gtest/gtest.h>

namespace zq {
namespace {

TEST(SaturatingInteger, ReadsTheLeadingDigits) {
    EXPECT_EQ(0, SaturatingInteger("0"));
    EXPECT_EQ(1'000'000'000, SaturatingInteger("1000000000"));
    EXPECT_EQ(12, SaturatingInteger("12.75"));
    EXPECT_EQ(12, SaturatingInteger("12 34"));
    EXPECT_EQ(7, SaturatingInteger("007bits"));
}

TEST(SaturatingInteger, SkipsBlanksAndTakesASign) {
    EXPECT_EQ(5, SaturatingInteger(" \t\r\n\v\f5"));
    EXPECT_EQ(-5, SaturatingInteger("-5"));
    EXPECT_EQ(5, SaturatingInteger("+5"));
}

TEST(SaturatingInteger, IsZeroWithoutDigits) {
    for (const char* text : {"", "   ", "fast", "-", "+", "+-5", "-+5", "- 5", "--5"}) {
        EXPECT_EQ(0, SaturatingInteger(text)) << text;
    }
}

TEST(SaturatingInteger, StopsAtTheEndsOfItsRange) {
    EXPECT_EQ(INT32_MAX, SaturatingInteger("2147483647"));
    EXPECT_EQ(INT32_MAX, SaturatingInteger("2147483648"));
    EXPECT_EQ(INT32_MAX, SaturatingInteger("10000000000"));
    EXPECT_EQ(INT32_MAX, SaturatingInteger("18446744073709551616"));
    EXPECT_EQ(INT32_MIN, SaturatingInteger("-2147483648"));
    EXPECT_EQ(INT32_MIN, SaturatingInteger("-99999999999999999999"));
}

} // namespace
} // namespace zq
