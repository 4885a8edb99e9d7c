#include "check/SourceText.h"

#include <gtest/gtest.h>

#include <string>

namespace zq::test {
namespace {

using namespace std::string_literals;

std::string Placed(const SourceText& source, int32_t offset) {
    const TextPosition position = source.PositionOf(offset);
    return std::to_string(position.line) + ':' + std::to_string(position.column);
}

TEST(SourceText, KnowsTheEncodingsByTheirMarksOrByTheirZeroBytes) {
    struct {
        std::string bytes;
        Encoding encoding;
        std::wstring text;
    } const table[] = {
        {"", Encoding::Ascii, L""},
        {"{}", Encoding::Ascii, L"{}"},
        {"{\x7F}", Encoding::Ascii, L"{\x7F}"},
        {"{\xC3\xA9}", Encoding::Utf8, L"{\u00E9}"},
        {"{\xC3}", Encoding::CodePage, L"{\u00C3}"},
        {"\xEF\xBB\xBF{}", Encoding::MarkedUtf8, L"{}"},
        {"\xFF\xFE{\0}\0"s, Encoding::Utf16Little, L"{}"},
        {"\xFE\xFF\0{\0}"s, Encoding::Utf16Big, L"{}"},
        {"\xFF\xFE\xAC\x20", Encoding::Utf16Little, L"\u20AC"},
        {"\xFE\xFF\x20\xAC", Encoding::Utf16Big, L"\u20AC"},
        {"{\0}\0"s, Encoding::Utf16Little, L"{}"},
        {"\0{\0}"s, Encoding::Utf16Big, L"{}"},
        {"{\0\"\0\0\x01\"\0}\0"s, Encoding::Utf16Little, L"{\"\u0100\"}"},
        {"{\0"s, Encoding::Utf16Little, L"{"},
        {"\0{"s, Encoding::Utf16Big, L"{"},
        {"{\0}"s, Encoding::Utf16Little, L"{"},
        {"{"s, Encoding::Ascii, L"{"},
        {"{\0}x"s, Encoding::Ascii, L"{\0}x"s},
        {"\0{x}"s, Encoding::Ascii, L"\0{x}"s},
        {"\xFF\xFE\0\0{\0\0\0}\0\0\0"s, Encoding::Utf32Little, L"{}"},
        {"\0\0\xFE\xFF\0\0\0{\0\0\0}"s, Encoding::Utf32Big, L"{}"},
        {"\xFF\xFE\0\0{\0\0\0}\0\0"s, Encoding::Utf32Little, L"{"},
    };
    for (const auto& row : table) {
        const SourceText source(row.bytes);
        EXPECT_EQ(row.encoding, source.GetEncoding()) << testing::PrintToString(row.bytes);
        EXPECT_EQ(row.text, source.Text()) << testing::PrintToString(row.bytes);
    }
}

TEST(SourceText, ReadsCharactersBeyond16BitsAsPairs) {
    EXPECT_EQ(L"\xD83D\xDE00", SourceText("\xFF\xFE\0\0\x00\xF6\x01\0"s).Text());
    EXPECT_EQ(L"\xD83D\xDE00", SourceText("\0\0\xFE\xFF\0\x01\xF6\0x"s).Text());
    EXPECT_EQ(L"\xFFFF", SourceText("\xFF\xFE\0\0\xFF\xFF\0\0"s).Text());
    EXPECT_EQ(L"\xD800\xDC00", SourceText("\xFF\xFE\0\0\0\0\x01\0"s).Text());
    EXPECT_EQ(L"\xDBFF\xDFFF", SourceText("\xFF\xFE\0\0\xFF\xFF\x10\0"s).Text());
    EXPECT_EQ(L"\xFFFD", SourceText("\xFF\xFE\0\0\0\0\x11\0"s).Text());
    EXPECT_EQ(L"\xFFFD", SourceText("\xFF\xFE\0\0\0\0\0\x01"s).Text());
}

TEST(SourceText, CountsTheZerosAtTheEndAndLeavesThemOut) {
    const SourceText source("{}\0\0\0"s);
    EXPECT_EQ(3u, source.ZeroBytes());
    EXPECT_EQ(2, source.Length());
    EXPECT_EQ(0u, SourceText("{}").ZeroBytes());
    EXPECT_EQ(4u, SourceText("\0\0\0\0"s).ZeroBytes());
}

TEST(SourceText, ALineEndsWithALineFeedACarriageReturnOrBoth) {
    const SourceText source("\na\rb\r\n\n\rc");
    const char* const wanted[] = {"1:1", "2:1", "2:2", "3:1", "3:2", "3:3", "4:1", "5:1", "6:1", "6:2"};
    for (int32_t offset = 0; offset <= source.Length(); ++offset) {
        EXPECT_EQ(wanted[offset], Placed(source, offset)) << offset;
    }
    EXPECT_EQ("2:1", Placed(SourceText("\r"), 1));
    EXPECT_EQ("1:2", Placed(SourceText("a\r\n"), 1));
    EXPECT_EQ("1:3", Placed(SourceText("a\r\n"), 2));
    EXPECT_EQ("2:1", Placed(SourceText("a\r\n"), 3));
    EXPECT_EQ("2:1", Placed(SourceText("a\r\nb"), 3));
    EXPECT_EQ("1:1", Placed(SourceText(""), 0));
}

TEST(SourceText, GivesALineWithoutItsLineBreak) {
    const SourceText source("one~\r\n\ntwo\rthree");
    EXPECT_EQ(L"one~", source.LineAt(0));
    EXPECT_EQ(L"one~", source.LineAt(5));
    EXPECT_EQ(L"", source.LineAt(6));
    EXPECT_EQ(L"two", source.LineAt(7));
    EXPECT_EQ(L"three", source.LineAt(source.Length()));
}

TEST(SourceText, AColumnCountsAPairOnceAndOtherCharactersToo) {
    // The first and last low surrogate, and what is next to them.
    const SourceText source("x\xF0\x90\x80\x80\xF0\x9F\xBF\xBF\xEE\x80\x80y\nz");
    ASSERT_EQ(L"x\xD800\xDC00\xD83F\xDFFF\xE000y\nz", source.Text());
    EXPECT_EQ("1:2", Placed(source, 1));
    EXPECT_EQ("1:3", Placed(source, 3));
    EXPECT_EQ("1:4", Placed(source, 5));
    EXPECT_EQ("1:5", Placed(source, 6));
    EXPECT_EQ("2:1", Placed(source, 8));
}

} // namespace
} // namespace zq::test
