#include "config/json/JsonReader.h"

#include "support/TypedVariables.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace zq {
namespace {

using namespace std::string_view_literals;
using test::Printable;

struct StringRow {
    std::wstring_view text; // from the opening quote on
    int32_t count;
    std::wstring_view result;
};

void Expect(const StringRow& row) {
    SCOPED_TRACE(Printable(row.text));
    // Memory of exactly the text's size: a read past the end is seen by the sanitizers.
    const std::vector<wchar_t> text(row.text.begin(), row.text.end());
    Arena arena;
    std::wstring_view result;
    EXPECT_EQ(row.count, ParseJsonString(result, arena, text.data(), static_cast<int32_t>(text.size())));
    EXPECT_EQ(Printable(row.result), Printable(result));
}

TEST(JsonString, CopiesPlainUnits) {
    Expect({L"\"\"", 2, L""});
    Expect({L"\"abc\"", 5, L"abc"});
    Expect({L"\"a\"b", 3, L"a"});
    Expect({L"\"a\nb\x01\x7f{[,\"", 10, L"a\nb\x01\x7f{[,"});
    Expect({L"\"a\0b\""sv, 5, L"a\0b"sv});
}

TEST(JsonString, KnownEscapesStandForTheirUnit) {
    Expect({L"\"\\\"\"", 4, L"\""});
    Expect({L"\"\\n\\r\\t\\/\"", 10, L"\n\r\t/"});
    Expect({L"\"a\\nb\\tc\"", 9, L"a\nb\tc"});
}

TEST(JsonString, UnknownEscapeBecomesABackslashAndLosesItsUnit) {
    Expect({L"\"x\\by\"", 6, L"x\\y"});
    Expect({L"\"\\\\\"", 4, L"\\"});
    Expect({L"\"\\\\n\"", 5, L"\\n"});
    Expect({L"\"\\f\\N\\U\\0\\ \"", 12, L"\\\\\\\\\\"});
    Expect({L"\"\\\0\""sv, 4, L"\\"});
}

TEST(JsonString, HexEscapeGivesOneUnit) {
    Expect({L"\"\\u00e9\"", 8, L"\xE9"});
    Expect({L"\"\\u00E9\\uABCD\\uabcd\"", 20, L"\xE9\xABCD\xABCD"});
    Expect({L"\"\\u0000\"", 8, L"\0"sv});
    Expect({L"\"\\uD83D\\uDE00\"", 14, L"\xD83D\xDE00"});
    Expect({L"\"\\uFFFF1\"", 9, L"\xFFFF\x31"});
}

TEST(JsonString, HexEscapeTakesTheLongestRunOfDigits) {
    Expect({L"\"\\u123g\"", 8, L"\x123"});
    Expect({L"\"\\u12 4\"", 8, L"\x12"});
    Expect({L"\"\\u1-34\"", 8, L"\x1"});
    Expect({L"\"\\u0x41\"", 8, L"\0"sv});
    Expect({L"\"\\u41\"\"\"", 8, L"\x41"}); // the four units swallow two quotes
}

TEST(JsonString, HexEscapeWithoutDigitsTakesThePreviousValue) {
    Expect({L"\"\\ughij\"", 8, L"\0"sv});
    Expect({L"\"\\u0041\\ughij\"", 14, L"AA"});
    Expect({L"\"\\u0041\\n\\uzzzz\\u0042\\u-123\"", 28, L"A\nABB"});
    Expect({L"\"\\u4zzz\\uz444\"", 14, L"\x4\x4"});
}

TEST(JsonString, PreviousValueStartsAtZeroInEachString) {
    const std::wstring_view text = L"[\"\\u0041\",\"\\uzzzz\"]";
    JsonRoot root;
    ASSERT_EQ(static_cast<int32_t>(text.size()),
              ParseJsonValue(root, text.data(), static_cast<int32_t>(text.size())));
    EXPECT_EQ(L"A", GetJsonString(root.Elements()[0]));
    EXPECT_EQ(L"\0"sv, GetJsonString(root.Elements()[1]));
}

TEST(JsonString, HexEscapeNeedsSixUnitsOfTextElseAllOfItIsCopied) {
    Expect({L"\"a\\u", 4, L"a\\u"});
    Expect({L"\"a\\u0", 5, L"a\\u0"});
    Expect({L"\"a\\u00", 6, L"a\\u00"});
    Expect({L"\"a\\u00e", 7, L"a\\u00e"});
    Expect({L"\"a\\u00e9", 8, L"a\xE9"});
    Expect({L"\"\\u12\"", 6, L"\\u12\""}); // the quote is copied too
    Expect({L"\"\\u\"x", 5, L"\\u\"x"});
    Expect({L"\"\\u12\"}", 7, L"\x12"}); // six units: the quote and the brace are two of them
}

TEST(JsonString, BackslashAsTheLastUnitIsCopied) {
    Expect({L"\"\\", 2, L"\\"});
    Expect({L"\"abc\\", 5, L"abc\\"});
    Expect({L"\"\\n\\", 4, L"\n\\"});
}

TEST(JsonString, TextMayEndBeforeTheClosingQuote) {
    Expect({L"\"", 1, L""});
    Expect({L"\"abc", 4, L"abc"});
    Expect({L"\"abc\\\"", 6, L"abc\""});
    Expect({L"\"\\n", 3, L"\n"});
}

TEST(JsonString, FailsWhereNoQuoteFollowsAtAll) {
    Expect({L"abc", -1, L""});
    Expect({L"a", -1, L""});
    Expect({L"a\\bc", -1, L""});
    Expect({L"abc\"", 4, L"bc"});
    Expect({L"a\\\"", 3, L"\""}); // an escaped quote satisfies the search
    Expect({L"a\\bc\"", 5, L"\\c"});
}

TEST(JsonString, MissingTextFails) {
    Arena arena;
    std::wstring_view result;
    EXPECT_EQ(-1, ParseJsonString(result, arena, nullptr, 3));
    EXPECT_EQ(-1, ParseJsonString(result, arena, L"\"\"", 0));
    EXPECT_EQ(-1, ParseJsonString(result, arena, L"\"\"", -1));
}

TEST(JsonString, QuoteOrEscapeIsFoundAtEveryPlace) {
    for (size_t length = 0; length < 70; ++length) {
        const std::wstring plain(length, L'x');
        const auto units = static_cast<int32_t>(length);
        Expect({L'"' + plain + L"\"yy", units + 2, plain});
        Expect({L'"' + plain + L"\\n\"yy", units + 4, plain + L'\n'});
        Expect({L'"' + plain, units + 1, plain});
        // Units whose low byte is a quote or a backslash are neither.
        Expect({L'"' + plain + L"\x2222\x5C5C\x5C\"\"", units + 6, plain + L"\x2222\x5C5C\""});
    }
}

} // namespace
} // namespace zq
