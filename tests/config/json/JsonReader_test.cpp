#include "config/json/JsonReader.h"

#include "base/Text.h"
#include "support/TypedVariables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace zq {
namespace {

using namespace std::string_view_literals;
using test::Printable;

// A tree as text: integers bare, doubles with a d in front, strings in quotes.
std::string Show(const JsonValue& value) {
    std::string out;
    switch (value.kind) {
    case JsonKind::Null:
        return "null";
    case JsonKind::Bool:
        return value.boolean == 1 ? "true" : value.boolean == 0 ? "false" : "odd";
    case JsonKind::Integer:
        return std::to_string(value.integer);
    case JsonKind::Double:
        out.resize(40);
        out.resize(static_cast<size_t>(std::snprintf(out.data(), out.size(), "d%.17g", value.real)));
        return out;
    case JsonKind::String:
        return '"' + Printable(GetJsonString(value)) + '"';
    case JsonKind::Array:
        for (const JsonValue& element : value.Elements()) {
            out += (out.empty() ? "" : ",") + Show(element);
        }
        return '[' + out + ']';
    default:
        for (const JsonMember& member : value.Members()) {
            out += (out.empty() ? "" : ",") + Printable(member.key) + ':' + Show(member.value);
        }
        return '{' + out + '}';
    }
}

struct Parsed {
    int32_t count;
    std::string tree;
};

// The same text as bytes gives the same count and tree.
void ExpectSameOfBytes(std::wstring_view text, const Parsed& expected) {
    if (std::any_of(text.begin(), text.end(), [](wchar_t unit) { return unit > 0xFF; })) {
        return;
    }
    const std::vector<unsigned char> bytes(text.begin(), text.end());
    JsonRoot root;
    const JsonBytes json = {bytes.data(), static_cast<int32_t>(bytes.size()), AsciiCharacters()};
    EXPECT_EQ(expected.count, ParseJsonValue(root, json));
    EXPECT_EQ(expected.tree, Show(root));
    // Read or not, a document takes the same verdict.
    const auto readsNothing = [](uint8_t, bool, std::wstring_view) { return kJsonUnread; };
    EXPECT_EQ(expected.count, ParseJsonValue(root, json, readsNothing));
    EXPECT_EQ(expected.count,
              ParseJsonValue(root, text.data(), static_cast<int32_t>(text.size()), readsNothing));
}

Parsed Parse(std::wstring_view text) {
    JsonRoot root;
    const int32_t count = ParseJsonValue(root, text.data(), static_cast<int32_t>(text.size()));
    Parsed parsed = {count, Show(root)};
    ExpectSameOfBytes(text, parsed);
    return parsed;
}

struct WholeText {
    std::wstring_view text;
    const char* tree;
};

void ExpectTakenWhole(const WholeText& row) {
    SCOPED_TRACE(Printable(row.text));
    const Parsed parsed = Parse(row.text);
    EXPECT_EQ(static_cast<int32_t>(row.text.size()), parsed.count);
    EXPECT_EQ(row.tree, parsed.tree);
}

struct Counted {
    std::wstring_view text;
    int32_t count;
};

void ExpectFailure(const Counted& row) {
    SCOPED_TRACE(Printable(row.text));
    const Parsed parsed = Parse(row.text);
    EXPECT_EQ(row.count, parsed.count);
    EXPECT_EQ("null", parsed.tree);
}

TEST(JsonReader, AcceptsMissingAndTrailingCommas) {
    for (const WholeText& row : {
             WholeText{L"{\"a\":1 \"b\":2}", "{a:1,b:2}"},
             {L"{\"a\":1\"b\":2}", "{a:1,b:2}"},
             {L"{\"a\":1,}", "{a:1}"},
             {L"{\"a\" : 1 , }", "{a:1}"},
             {L"{\"a\":{}\"b\":[]\"c\":3}", "{a:{},b:[],c:3}"},
             {L"[1 2]", "[1,2]"},
             {L"[1,]", "[1]"},
             {L"[[],]", "[[]]"},
             {L"[{}[]\"a\"\"b\"true false]", "[{},[],\"a\",\"b\",true,false]"},
             {L"[truefalsenull]", "[true,false,null]"},
             {L"[1-2+3]", "[1,-2,3]"},
         }) {
        ExpectTakenWhole(row);
    }
}

TEST(JsonReader, LastOfEqualKeysWins) {
    ExpectTakenWhole({L"{\"a\":1,\"a\":2}", "{a:2}"});
    ExpectTakenWhole({L"{\"a\":1,\"b\":3,\"a\":[2],\"b\":null}", "{a:[2],b:null}"});
    ExpectTakenWhole({L"{\"a\":{\"b\":1},\"a\":{\"c\":2}}", "{a:{c:2}}"});
    ExpectTakenWhole({L"{\"a\":1,\"\\u0061\":2}", "{a:2}"});
}

TEST(JsonReader, KeysComeInOrderOfTheirUnits) {
    ExpectTakenWhole({L"{\"b\":1,\"a\":2}", "{a:2,b:1}"});
    ExpectTakenWhole({L"{\"a\":1,\"B\":2,\"1\":3,\"aa\":4,\"\":5}", "{:5,1:3,B:2,a:1,aa:4}"});
    ExpectTakenWhole({L"{\"\xE9\":1,\"\xFFFD\":2,\"z\":3}", "{z:3,\\xE9:1,\\xFFFD:2}"});
}

// Small objects are sorted in another way than large ones. Most keys begin alike, and many are equal.
TEST(JsonReader, ObjectsOfEverySizeAreSortedAndKeepTheLastOfEqualKeys) {
    std::mt19937_64 random(17);
    for (int i = 0; i < 2000; ++i) {
        const int members = static_cast<int>(random() % 48);
        std::map<std::wstring, int64_t> expected;
        std::wstring text = L"{";
        for (int value = 0; value < members; ++value) {
            std::wstring key(random() % 7, L'k');
            key.append(random() % 3, static_cast<wchar_t>(L'a' + random() % 4));
            expected[key] = value;
            text += L'"' + key + L"\":" + std::to_wstring(value) + L',';
        }
        text += L'}';
        JsonRoot root;
        ASSERT_EQ(static_cast<int32_t>(text.size()),
                  ParseJsonValue(root, text.data(), static_cast<int32_t>(text.size())));

        ASSERT_EQ(expected.size(), root.Members().size());
        auto next = expected.begin();
        for (const JsonMember& member : root.Members()) {
            ASSERT_EQ(next->first, member.key);
            ASSERT_EQ(next->second, member.value.integer);
            ++next;
        }
    }
}

TEST(JsonReader, MembersAreFoundByExactKey) {
    const std::wstring_view text = L"{\"HD\":1,\"hd\":2}";
    JsonRoot root;
    ASSERT_EQ(15, ParseJsonValue(root, text.data(), 15));

    ASSERT_NE(nullptr, root.Member(L"HD"));
    EXPECT_EQ(1, root.Member(L"HD")->integer);
    EXPECT_EQ(nullptr, root.Member(L"Hd"));
    EXPECT_EQ(nullptr, root.Member(L"H"));
    EXPECT_EQ(nullptr, root.Member(L"HD")->Member(L"HD"));
}

TEST(JsonReader, LiteralsComeInAnyLetterCase) {
    ExpectTakenWhole({L"[TRUE,False,NULL]", "[true,false,null]"});
    ExpectTakenWhole({L"[tRuE,fALSE,nULL]", "[true,false,null]"});
    ExpectTakenWhole({L"true", "true"});
    ExpectTakenWhole({L" FALSE", "false"});
    ExpectTakenWhole({L"null", "null"});
    for (const Counted& row : {Counted{L"tru", -1},
                               {L"trux", -1},
                               {L"fals", -1},
                               {L"falsx", -1},
                               {L"nul ", -1},
                               {L"nope", -1},
                               {L"\x54\x52\x55\x212A", -1},
                               {L"t", -1},
                               {L"F", -1}}) {
        ExpectFailure(row);
    }
}

TEST(JsonReader, LeadingSpaceCountsAndTrailingSpaceStays) {
    EXPECT_EQ(4, Parse(L"  {}").count);
    EXPECT_EQ(2, Parse(L"{}\n").count);
    EXPECT_EQ(5, Parse(L"\x01\x1f []").count);
    EXPECT_EQ(2, Parse(L"[] ]").count);
    EXPECT_EQ(3, Parse(L"\"a\"b").count);
    EXPECT_EQ(4, Parse(L"true1").count);
}

TEST(JsonReader, EveryUnitFrom1To32IsSpaceAndNoOther) {
    for (int unit = 0; unit < 0x100; ++unit) {
        const std::wstring text = {static_cast<wchar_t>(unit), L'{', static_cast<wchar_t>(unit), L'}'};
        SCOPED_TRACE(unit);
        EXPECT_EQ(unit >= 1 && unit <= 32, Parse(text).count == 4);
    }
    EXPECT_EQ(-1, Parse(L"\x3000{}").count);
    EXPECT_EQ(-1, Parse(L"\xFEFF{}").count);
}

TEST(JsonReader, SpaceMayStandBetweenAllTokens) {
    ExpectTakenWhole({L"\t{ \"a\" \r\n:\x01[ 1 , 2 ] , \"b\" : { } }", "{a:[1,2],b:{}}"});
}

TEST(JsonReader, ZeroUnitIsNoSpace) {
    ExpectFailure({L"\0{}"sv, -1});
    ExpectFailure({L" \0{}"sv, -2});
    ExpectFailure({L"{\0}"sv, -1});
    ExpectFailure({L"[1\0]"sv, -2});
    EXPECT_EQ(2, Parse(L"{}\0"sv).count);
}

TEST(JsonReader, MissingTextFails) {
    JsonRoot root;
    EXPECT_EQ(-1, ParseJsonValue(root, nullptr, 5));
    EXPECT_EQ(-1, ParseJsonValue(root, L"{}", 0));
    EXPECT_EQ(-1, ParseJsonValue(root, L"{}", -7));
    EXPECT_EQ(-1, ParseJsonObject(root, nullptr, 1));
    EXPECT_EQ(-1, ParseJsonArray(root, nullptr, 1));
}

TEST(JsonReader, UnitThatStartsNoValueGivesItsPlace) {
    for (const Counted& row : {Counted{L"x", -1},
                               {L"  x", -3},
                               {L" ", -2},
                               {L"   ", -4},
                               {L"]", -1},
                               {L" }", -2},
                               {L",", -1},
                               {L".5 ", -1},
                               {L"'a'", -1},
                               {L"\\", -1},
                               {L"\n\n:", -3}}) {
        ExpectFailure(row);
    }
}

TEST(JsonReader, FailedScalarAtTheTopGivesMinusOne) {
    for (const Counted& row :
         {Counted{L"5", -1}, {L"   5", -1}, {L"  trux", -1}, {L"  1.2.3 ", -1}, {L"-", -1}}) {
        ExpectFailure(row);
    }
}

TEST(JsonReader, NumberNeedsAFollowingUnit) {
    ExpectFailure({L"5", -1});
    ExpectTakenWhole({L"[5]", "[5]"});
    EXPECT_EQ(1, Parse(L"5 ").count);
    EXPECT_EQ("5", Parse(L"5 ").tree);
}

TEST(JsonReader, ExponentEndsTheNumber) {
    ExpectFailure({L"[1e5]", -2});
    EXPECT_EQ(1, Parse(L"1e5").count);
    ExpectTakenWhole({L"[1false]", "[1,false]"});
}

TEST(JsonReader, LoneSignIsZeroAndTwoPointsFail) {
    ExpectTakenWhole({L"[-]", "[0]"});
    ExpectTakenWhole({L"[+]", "[0]"});
    ExpectFailure({L"[1.2.3]", -1});
}

TEST(JsonReader, ContainerThatIsNeverClosedGivesMinusOne) {
    for (const Counted& row : {Counted{L"{", -1},
                               {L"[", -1},
                               {L"{\"a\":1", -1},
                               {L"[1,2", -1},
                               {L"  {\"a\":1]", -1},
                               {L"[1}", -1},
                               {L"{]", -1}}) {
        ExpectFailure(row);
    }
}

TEST(JsonReader, FailedObjectGivesMinusTheUnitsBeforeTheFailure) {
    for (const Counted& row : {
             Counted{L"{x}", -1},         // no quote for a key
             {L"{ x}", -2},               // the space is consumed
             {L"{\"a\"}", -4},            // no colon
             {L"{\"a\" }", -5},           // no colon after the space
             {L"{\"a\"1}", -4},           // neither
             {L"{\"a\":}", -5},           // no value
             {L"{\"a\": }", -6},          // no value after the space
             {L"{\"a\":x}", -5},          // no value either
             {L"{\"a\":1,x}", -7},        // second key
             {L"{\"a\":1,,\"b\":2}", -9}, // the second comma is taken for the key's quote
             {L"{\"a\":1,\"b\"}", -10},   // second colon
             {L"{\"a\":1.2.3}", -5},      // value refused
             {L"{\"a\":nul}", -5},        // literal refused
             {L"{\"}", -3},               // the key runs to the end
             {L"{\"a\":\"}", -7},         // the value runs to the end
             {L"{\"a\":5", -1},           // never closed
             {L"  {\"a\"}", -4},          // space in front does not count in a failure
         }) {
        ExpectFailure(row);
    }
}

TEST(JsonReader, FailedArrayGivesMinusTheUnitsBeforeTheFailure) {
    for (const Counted& row : {Counted{L"[x]", -1},
                               {L"[ x]", -2},
                               {L"[,]", -1},
                               {L"[1,,2]", -3},
                               {L"[1,x]", -3},
                               {L"[1, x]", -4},
                               {L"[1 ,\"a]", -7},
                               {L"[nul]", -1},
                               {L"[.5]", -1},
                               {L"[1:2]", -2},
                               {L" [1,x]", -3}}) {
        ExpectFailure(row);
    }
}

TEST(JsonReader, FailureInsideCountsUpToTheOutermostElement) {
    for (const Counted& row : {
             Counted{L"{\"a\":{\"b\":}}", -5},
             {L"{\"a\":[1,}]}", -5},
             {L"{\"a\":1,\"b\":{\"c\":[x]}}", -11},
             {L"[[x]]", -1},
             {L"[1,[x]]", -3},
             {L"[[1],[[[x]]]]", -5},
             {L"[1,{]", -3},
             {L"[1,[{]]", -3},
             {L"[[[],x]]", -1},
             {L"[1,[2],3,x]", -9},
         }) {
        ExpectFailure(row);
    }
}

TEST(JsonReader, FirstUnitOfAKeyIsNotLookedAt) {
    ExpectTakenWhole({L"{xa\":1}", "{a:1}"});
    ExpectTakenWhole({L"{{a\":1}", "{a:1}"});
    ExpectTakenWhole({L"{\\a\":1}", "{a:1}"});
    ExpectTakenWhole({L"{,\":1}", "{:1}"});
    ExpectTakenWhole({L"{x\\\"\":1}", "{\":1}"});
}

TEST(JsonReader, StringAtTheEndNeedsNoClosingQuote) {
    ExpectTakenWhole({L"\"abc", "\"abc\""});
    ExpectTakenWhole({L"\"", "\"\""});
    ExpectTakenWhole({L"  \"a}]", "\"a}]\""});
}

TEST(JsonReader, RootIsNullAfterAFailure) {
    JsonRoot root;
    ASSERT_EQ(3, ParseJsonValue(root, L"[1]", 3));
    FreeJsonValue(root);
    EXPECT_TRUE(root.Is(JsonKind::Null));

    EXPECT_EQ(-3, ParseJsonValue(root, L"[1,x]", 5));
    EXPECT_TRUE(root.Is(JsonKind::Null));
    EXPECT_TRUE(root.Elements().empty());
}

TEST(JsonReader, TextOfAnotherKindIsEmpty) {
    for (const std::wstring_view text : {L"1 "sv, L"{}"sv, L"[\"a\"]"sv, L"true"sv, L"1.5 "sv, L"null"sv}) {
        JsonRoot root;
        ASSERT_LT(0, ParseJsonValue(root, text.data(), static_cast<int32_t>(text.size())));
        EXPECT_EQ(L"", GetJsonString(root));
    }
}

TEST(JsonReader, PartsAnswerForTheirTokens) {
    JsonRoot root;
    EXPECT_EQ(7, ParseJsonObject(root, L"{\"a\":1}", 7));
    EXPECT_EQ("{a:1}", Show(root));
    FreeJsonValue(root);
    EXPECT_EQ(3, ParseJsonArray(root, L"[1]x", 4));
    EXPECT_EQ("[1]", Show(root));
    FreeJsonValue(root);
    EXPECT_EQ(-1, ParseJsonObject(root, L"[1]", 3));
    EXPECT_EQ(-1, ParseJsonArray(root, L"{}", 2));

    JsonValue value;
    EXPECT_EQ(-1, ParseJsonLiteral(value, L"true", 3));
    EXPECT_EQ(-1, ParseJsonLiteral(value, L"false", 4));
    EXPECT_EQ(5, ParseJsonLiteral(value, L"FALSE", 5));
    EXPECT_EQ("false", Show(value));
    EXPECT_EQ(4, ParseJsonLiteral(value, L"Null", 4));
    EXPECT_EQ("null", Show(value));
}

TEST(JsonReader, ReadsNoFurtherThanTheLength) {
    // Every cut of the text, each in memory of exactly its size: a read past the end is seen by the
    // sanitizers.
    const std::wstring text =
        L"{\"a\\u00e9\\n\":[1,-2.5,true,FALSE,null,\"x\\\\\",{\"b\":[]}],\"c\":\"\\u0012\"}";
    for (size_t length = 0; length <= text.size(); ++length) {
        const std::vector<wchar_t> cut(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length));
        JsonRoot root;
        const int32_t count = ParseJsonValue(root, cut.data(), static_cast<int32_t>(length));
        EXPECT_EQ(length == text.size(), count > 0) << length;
    }
}

} // namespace
} // namespace zq
