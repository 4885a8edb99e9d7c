#include "check/Quote.h"

#include <gtest/gtest.h>

namespace zq {
namespace {

TEST(Quote, UnitsThatATerminalActsOnAreThoseOfTheseRanges) {
    constexpr struct {
        uint32_t first;
        uint32_t last;
    } kRanges[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x200B, 0x200F},
                   {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF}};
    for (uint32_t unit = 0; unit <= 0xFFFF; ++unit) {
        bool isInRange = false;
        for (const auto& range : kRanges) {
            isInRange = isInRange || (unit >= range.first && unit <= range.last);
        }
        ASSERT_EQ(isInRange, IsControlUnit(static_cast<wchar_t>(unit))) << unit;
    }
}

TEST(Quote, WritesThemAsEscapes) {
    EXPECT_EQ("\"a\\u202Eb\"", Quoted(L"a\x202E"
                                      L"b"));
    EXPECT_EQ("\"\\u000A\"", Quoted(L"\n"));
}

} // namespace
} // namespace zq
