#include "base/Text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace zq {
namespace {

using namespace std::string_view_literals;

TEST(Text, AsciiIsTheSameInBothCodePages) {
    std::string all;
    for (int byte = 0; byte < 0x80; ++byte) {
        all += static_cast<char>(byte);
    }
    const std::wstring wide(all.begin(), all.end());

    EXPECT_EQ(wide, DecodeFileText(kCodePageAnsi, all.data(), 0x80));
    EXPECT_EQ(wide, DecodeFileText(kCodePageUtf8, all.data(), 0x80));
}

TEST(Text, EveryLengthAndOffsetOfAWideCharacterDecodes) {
    for (size_t length = 0; length < 70; ++length) {
        const std::string ascii(length, 'x');
        EXPECT_EQ(std::wstring(length, L'x'),
                  DecodeFileText(kCodePageAnsi, ascii.data(), static_cast<int32_t>(length)));
        const std::string bytes = ascii + "\xC3\xA9" + ascii;
        EXPECT_EQ(std::wstring(length, L'x') + L'\xE9' + std::wstring(length, L'x'),
                  DecodeFileText(kCodePageUtf8, bytes.data(), static_cast<int32_t>(bytes.size())));
    }
}

TEST(Text, LengthOfMinusOneReadsUpToTheZeroByte) {
    EXPECT_EQ(L"ab\xE9\0"sv, DecodeFileText(kCodePageUtf8, "ab\xC3\xA9\0cd", -1));
    EXPECT_EQ(L"\0"sv, DecodeFileText(kCodePageUtf8, "", -1));
    EXPECT_EQ(L"ab\0"sv, DecodeFileText(kCodePageAnsi, "ab\0cd", -1));
}

TEST(Text, AnEmptyTextDecodesToAnEmptyText) {
    EXPECT_EQ(L"", DecodeFileText(kCodePageAnsi, "abc", 0));
    EXPECT_EQ(L"", DecodeFileText(kCodePageUtf8, nullptr, 5));
}

// The bytes of a character by their definition.
std::string EncodedUtf8(uint32_t point) {
    const auto tail = [point](unsigned shift) { return static_cast<char>(0x80U | (point >> shift & 0x3FU)); };
    if (point < 0x80) {
        return {static_cast<char>(point)};
    }
    if (point < 0x800) {
        return {static_cast<char>(0xC0U | point >> 6U), tail(0)};
    }
    if (point < 0x10000) {
        return {static_cast<char>(0xE0U | point >> 12U), tail(6), tail(0)};
    }
    return {static_cast<char>(0xF0U | point >> 18U), tail(12), tail(6), tail(0)};
}

bool IsSurrogate(uint32_t point) { return point >= 0xD800 && point <= 0xDFFF; }

std::wstring Wide(uint32_t point) {
    if (point < 0x10000) {
        return {static_cast<wchar_t>(point)};
    }
    return {static_cast<wchar_t>(0xD7C0 + (point >> 10U)), static_cast<wchar_t>(0xDC00 + (point & 0x3FFU))};
}

TEST(Text, EveryCharacterIsWrittenAndReadAsUtf8) {
    size_t wrong = 0;
    for (uint32_t point = 1; point <= 0x10FFFF; ++point) {
        if (IsSurrogate(point)) {
            continue;
        }
        const std::string bytes = EncodedUtf8(point);
        const auto length = static_cast<int32_t>(bytes.size());
        wrong += IsUtf8(bytes) && BytesFromWide(kCodePageUtf8, Wide(point)) == bytes &&
                         DecodeFileText(kCodePageUtf8, bytes.data(), length) == Wide(point)
                     ? 0
                     : 1;
    }
    EXPECT_EQ(0u, wrong);
}

TEST(Text, EveryLoneSurrogateIsWrittenAsTheReplacementCharacter) {
    for (uint32_t unit = 0xD800; unit <= 0xDFFF; ++unit) {
        const std::wstring lone(1, static_cast<wchar_t>(unit));
        ASSERT_EQ("\xEF\xBF\xBD", BytesFromWide(kCodePageUtf8, lone)) << unit;
        ASSERT_EQ("\xEF\xBF\xBD!", BytesFromWide(kCodePageUtf8, lone + L'!')) << unit;
    }
}

TEST(Text, OnlyCompleteSequencesOfTheShortestFormAreUtf8) {
    constexpr uint32_t kPoints = 0x140000; // four bytes can hold more than the last character
    for (uint32_t point = 0; point < kPoints; ++point) {
        const std::string bytes = EncodedUtf8(point);
        ASSERT_EQ(point <= 0x10FFFF && !IsSurrogate(point), IsUtf8(bytes)) << point;
    }
    for (const std::string_view bytes : {"\x80"sv,
                                         "\xBF"sv,
                                         "\xC0\x80"sv,
                                         "\xC1\xBF"sv,
                                         "\xE0\x80\x80"sv,
                                         "\xE0\x9F\xBF"sv,
                                         "\xF0\x80\x80\x80"sv,
                                         "\xF0\x8F\xBF\xBF"sv,
                                         "\xF5\x80\x80\x80"sv,
                                         "\xF8\x88\x80\x80\x80"sv,
                                         "\xFF"sv,
                                         "\xC3"sv,
                                         "\xC3\x7F"sv,
                                         "\xC3\xC0"sv,
                                         "\xE2\x82"sv,
                                         "\xE2\x82\x7F"sv,
                                         "\xE2\x82\xC0"sv,
                                         "\xF0\x9F\x98"sv,
                                         "\xF0\x9F\x98\x7F"sv,
                                         "\xF0\x9F\x98\xC0"sv,
                                         "\xF0\x9F\x7F\x80"sv,
                                         "\xE2\x7F\x80"sv}) {
        EXPECT_FALSE(IsUtf8(bytes)) << testing::PrintToString(bytes);
        EXPECT_FALSE(IsUtf8("x\xC3\xA9" + std::string(bytes) + "x"));
    }
    // What follows the end is not looked at.
    const std::string_view four = "\xF0\x9F\x98\x80";
    for (size_t length = 1; length < four.size(); ++length) {
        EXPECT_FALSE(IsUtf8(four.substr(0, length))) << length;
    }
    EXPECT_FALSE(IsUtf8("\xE2\x82\xAC"sv.substr(0, 2)));
    EXPECT_TRUE(IsUtf8(""));
    EXPECT_TRUE(IsUtf8("x\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80 and more\xC3\xA9"));
}

TEST(Text, IsAsciiLooksAtEveryByte) {
    for (size_t offset = 0; offset < 40; ++offset) {
        std::string bytes(40, '\x7F');
        EXPECT_TRUE(IsAscii(bytes));
        bytes[offset] = '\x80';
        EXPECT_FALSE(IsAscii(bytes)) << offset;
    }
}

} // namespace
} // namespace zq
