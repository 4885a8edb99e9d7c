#include "VariableText.h"

#include <gtest/gtest.h>

#include <limits>

namespace zq::tool {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(VariableText, ValuesReadAsWhatTheyAre) {
    EXPECT_EQ("true", ValueText(ZQBool{1}));
    EXPECT_EQ("false", ValueText(ZQBool{0}));
    EXPECT_EQ("true (7)", ValueText(ZQBool{7}));
    EXPECT_EQ("-9223372036854775808", ValueText(std::numeric_limits<int64_t>::min()));
    EXPECT_EQ("0.1", ValueText(0.1));
    EXPECT_EQ("70.0", ValueText(70.0));
    EXPECT_EQ("-0.0", ValueText(-0.0));
    EXPECT_EQ("1e+300", ValueText(1e300));
    EXPECT_EQ("-inf", ValueText(-kInfinity));
    EXPECT_EQ("\"\"", ValueText(std::wstring()));
    EXPECT_EQ("0 bytes", ValueText(Bytes()));
    EXPECT_EQ("3 bytes: 01 00 FF", ValueText(Bytes{1, 0, 255}));
}

TEST(VariableText, LongBinaryIsCut) {
    EXPECT_EQ("17 bytes: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 ...", ValueText(Bytes(17, 0)));
}

TEST(VariableText, ControlCharactersDoNotReachTheTerminal) {
    EXPECT_EQ("\"a\\u202Eb\\u200Bc\"", ValueText(std::wstring(L"a\u202Eb\u200Bc")));
    EXPECT_EQ("\"a\\nb\\u001B[31m\\\\\\u009B\"", ValueText(std::wstring(L"a\nb\u001B[31m\\\x9B")));
}

TEST(VariableText, TableAlignsItsColumns) {
    EXPECT_EQ("NAME     TYPE     VALUE\n"
              "A        bool     true\n"
              "K\xC3\xA4mmer   integer  5\n"
              "Longest  string   \"x\"\n"
              "3 variables\n",
              TableText({{L"A", ZQBool{1}}, {L"K\u00E4mmer", int64_t{5}}, {L"Longest", std::wstring(L"x")}}));
}

TEST(VariableText, OneLongNameDoesNotWidenTheTable) {
    const std::string table = TableText({{L"A", ZQBool{1}}, {std::wstring(500, L'n'), ZQBool{1}}});

    EXPECT_TRUE(table.starts_with("NAME" + std::string(56, ' ') + "  TYPE"));
}

TEST(VariableText, JsonHoldsEveryType) {
    const std::string json = JsonText({{L"B", ZQBool{1}},
                                       {L"I", std::numeric_limits<int64_t>::max()},
                                       {L"D", 0.5},
                                       {L"S", std::wstring(L"\"\u20AC\"")},
                                       {L"X", Bytes{1, 255}}});

    for (const char* part :
         {"\"name\": \"B\"", "\"type\": \"bool\"", "\"value\": true", "\"value\": 9223372036854775807",
          "\"value\": 0.5", "\"value\": \"\\\"\xE2\x82\xAC\\\"\"", "\"type\": \"binary\"",
          "\"value\": \"01FF\""}) {
        EXPECT_NE(std::string::npos, json.find(part)) << part << "\n" << json;
    }
}

TEST(VariableText, JsonHasWordsForWhatItCannotCount) {
    const std::string json =
        JsonText({{L"P", kInfinity}, {L"N", -kInfinity}, {L"Q", std::numeric_limits<double>::quiet_NaN()}});

    for (const char* part : {"\"value\": \"Infinity\"", "\"value\": \"-Infinity\"", "\"value\": \"NaN\""}) {
        EXPECT_NE(std::string::npos, json.find(part)) << part << "\n" << json;
    }
}

TEST(VariableText, NoVariablesAreAnEmptyArray) { EXPECT_EQ("[]\n", JsonText({})); }

} // namespace
} // namespace zq::tool
