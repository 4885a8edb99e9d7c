#include "check/WordRepair.h"

#include "check/Quote.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

// "code value", with a question mark where only the author knows; empty for a word that the module reads.
std::string Repaired(std::wstring_view word) {
    const WordRepair repair = RepairWord(word);
    return repair.code ? repair.code + (repair.isCertain ? " " + Utf8(repair.value) : std::string(" ?")) : "";
}

TEST(WordRepair, LeavesWhatTheModuleReads) {
    for (const wchar_t* word :
         {L"0", L"-1.5", L"+1", L"007", L"1.", L"-.5", L"-", L"true", L"FALSE", L"nUll"}) {
        EXPECT_EQ("", Repaired(word)) << Utf8(word);
    }
}

TEST(WordRepair, KnowsOtherWordsForTrueFalseAndNull) {
    EXPECT_EQ("wrong-literal true", Repaired(L"yes"));
    EXPECT_EQ("wrong-literal true", Repaired(L"ON"));
    EXPECT_EQ("wrong-literal false", Repaired(L"No"));
    EXPECT_EQ("wrong-literal null", Repaired(L"None"));
    EXPECT_EQ("wrong-literal ?", Repaired(L"ture"));
}

TEST(WordRepair, WritesExponentsOut) {
    EXPECT_EQ("exponent 100000", Repaired(L"1e5"));
    EXPECT_EQ("exponent -1500.0", Repaired(L"-1.5E+3"));
    EXPECT_EQ("exponent 0.0015", Repaired(L"1.5e-3"));
    EXPECT_EQ("exponent 0.1", Repaired(L"1e-1"));
    EXPECT_EQ("exponent 12.5", Repaired(L"1.25e1"));
    EXPECT_EQ("exponent 0", Repaired(L"0e9"));
}

TEST(WordRepair, WritesHexadecimalNumbersInDecimal) {
    EXPECT_EQ("hexadecimal 70", Repaired(L"0x46"));
    EXPECT_EQ("hexadecimal -255", Repaired(L"-0XfF"));
}

TEST(WordRepair, DropsUnitsAndSeparators) {
    EXPECT_EQ("unit 70", Repaired(L"70Mbps"));
    EXPECT_EQ("unit 12.5", Repaired(L"12.5%"));
    EXPECT_EQ("separators 1000000", Repaired(L"1_000_000"));
    EXPECT_EQ("no-leading-digit 0.5", Repaired(L".5"));
}

TEST(WordRepair, PutsOtherWordsInQuotes) {
    EXPECT_EQ("no-quotes \"HEVC\"", Repaired(L"HEVC"));
    EXPECT_EQ("second-point \"192.168.0.1\"", Repaired(L"192.168.0.1"));
    EXPECT_EQ("second-point ?", Repaired(L"1.2.3"));
    EXPECT_EQ("no-value ?", Repaired(L"NaN"));
    EXPECT_EQ("no-value ?", Repaired(L"?"));
}

} // namespace
} // namespace zq::test
