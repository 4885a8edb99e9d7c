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

} // namespace
} // namespace zq
