#include "base/AsciiCase.h"

#include <gtest/gtest.h>

#include <string_view>

namespace zq {
namespace {

TEST(AsciiCase, OnlyAsciiLettersHaveOne) {
    constexpr std::wstring_view kCapitals = L"ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    constexpr std::wstring_view kSmall = L"abcdefghijklmnopqrstuvwxyz";
    for (wchar_t unit = 0; unit < 0x3000; ++unit) {
        const size_t capital = kCapitals.find(unit);
        const bool isCapital = capital != std::wstring_view::npos;
        EXPECT_EQ(isCapital ? kSmall[capital] : unit, AsciiLower(unit));
        EXPECT_EQ(isCapital || kSmall.find(unit) != std::wstring_view::npos, IsAsciiLetter(unit));
    }
}

TEST(AsciiCase, NamesAreComparedWithoutIt) {
    EXPECT_TRUE(EqualsIgnoringAsciiCase(L"Name_1", L"nAME_1"));
    EXPECT_FALSE(EqualsIgnoringAsciiCase(L"Name", L"Names"));
    EXPECT_FALSE(EqualsIgnoringAsciiCase(L"Names", L"Name"));
    EXPECT_FALSE(EqualsIgnoringAsciiCase(L"\u00C9", L"\u00E9"));
    EXPECT_FALSE(EqualsIgnoringAsciiCase(L"@[", L"`{"));
}

} // namespace
} // namespace zq
