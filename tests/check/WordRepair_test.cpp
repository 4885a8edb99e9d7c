#include "check/WordRepair.h"

#include "check/Quote.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

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
    EXPECT_EQ("wrong-literal true", Repaired(L"on"));
    EXPECT_EQ("wrong-literal false", Repaired(L"no"));
    EXPECT_EQ("wrong-literal false", Repaired(L"off"));
    EXPECT_EQ("wrong-literal null", Repaired(L"none"));
    EXPECT_EQ("wrong-literal null", Repaired(L"nil"));
    EXPECT_EQ("wrong-literal null", Repaired(L"undefined"));
    EXPECT_EQ("wrong-literal true", Repaired(L"ON"));
    EXPECT_EQ("wrong-literal false", Repaired(L"No"));
    EXPECT_EQ("wrong-literal null", Repaired(L"None"));
}

TEST(WordRepair, AsksForTheLiteralThatIsMistyped) {
    for (const auto& [word, literal] :
         std::vector<std::pair<std::wstring_view, std::string>>{{L"ture", "true"},
                                                                {L"treu", "true"},
                                                                {L"flase", "false"},
                                                                {L"fasle", "false"},
                                                                {L"nlul", "null"}}) {
        EXPECT_EQ("wrong-literal ?", Repaired(word)) << Utf8(word);
        EXPECT_EQ("did you mean " + literal + "?", RepairWord(word).fix);
        EXPECT_EQ(L"null", RepairWord(word).value);
    }
}

TEST(WordRepair, WritesExponentsOut) {
    EXPECT_EQ("exponent 100000", Repaired(L"1e5"));
    EXPECT_EQ("exponent -1500.0", Repaired(L"-1.5E+3"));
    EXPECT_EQ("exponent 0.0015", Repaired(L"1.5e-3"));
    EXPECT_EQ("exponent 0.1", Repaired(L"1e-1"));
    EXPECT_EQ("exponent 12.5", Repaired(L"1.25e1"));
    EXPECT_EQ("exponent 0", Repaired(L"0e9"));
}

TEST(WordRepair, MovesThePointByTheExponent) {
    const std::string zeros(398, '0');
    EXPECT_EQ("exponent 0", Repaired(L"0e0"));
    EXPECT_EQ("exponent 1", Repaired(L"1e0"));
    EXPECT_EQ("exponent 1", Repaired(L"+1e+0"));
    EXPECT_EQ("exponent 125.0", Repaired(L"1.25e2"));
    EXPECT_EQ("exponent 1250.0", Repaired(L"1.25e3"));
    EXPECT_EQ("exponent 0.125", Repaired(L"1.250e-1"));
    EXPECT_EQ("exponent 1.0", Repaired(L"10e-1"));
    EXPECT_EQ("exponent 0.012", Repaired(L"1.2e-2"));
    EXPECT_EQ("exponent 0.12", Repaired(L".12e0"));
    EXPECT_EQ("exponent 5.0", Repaired(L"005.e0"));
    EXPECT_EQ("exponent 10" + zeros + "0", Repaired(L"1e400"));
    for (const wchar_t* word : {L"1e401", L"1e0001", L"1e", L"1e+", L"1e1.5", L"1e5x"}) {
        EXPECT_NE("exponent", Repaired(word).substr(0, 8)) << Utf8(word);
    }
    EXPECT_EQ("no-quotes \"e5\"", Repaired(L"e5"));
}

TEST(WordRepair, WritesHexadecimalNumbersInDecimal) {
    EXPECT_EQ("hexadecimal 70", Repaired(L"0x46"));
    EXPECT_EQ("hexadecimal -255", Repaired(L"-0XfF"));
    EXPECT_EQ("hexadecimal 81985529216486895", Repaired(L"0x123456789aBcDeF"));
    EXPECT_EQ("hexadecimal 1152921504606846975", Repaired(L"0xFFFFFFFFFFFFFFF"));
    EXPECT_EQ("no-quotes \"0x1000000000000000\"", Repaired(L"0x1000000000000000"));
    EXPECT_EQ("unit 0", Repaired(L"0x"));
    EXPECT_EQ("no-quotes \"0x1g\"", Repaired(L"0x1g"));
}

TEST(WordRepair, DropsUnitsAndSeparators) {
    EXPECT_EQ("unit 70", Repaired(L"70Mbps"));
    EXPECT_EQ("unit 12.5", Repaired(L"12.5%"));
    EXPECT_EQ("separators 1000000", Repaired(L"1_000_000"));
    EXPECT_EQ("no-leading-digit 0.5", Repaired(L".5"));
}

// The ASCII characters for which this is true.
template <class IsIt>
std::wstring WordUnitsOf(IsIt isIt) {
    std::wstring characters;
    for (wchar_t character = 1; character < 127; ++character) {
        characters += isIt(character) ? std::wstring(1, character) : L"";
    }
    return characters;
}

const std::wstring kDigits = L"0123456789";
const std::wstring kCapitals = L"ABCDEFGHIJKLMNOPQRSTUVWXYZ";
const std::wstring kSmallLetters = L"abcdefghijklmnopqrstuvwxyz";

TEST(WordRepair, AUnitIsLettersAPercentSignOrASlash) {
    EXPECT_EQ(L"%/" + kCapitals + kSmallLetters,
              WordUnitsOf([](wchar_t unit) { return Repaired(std::wstring(L"70M") + unit) == "unit 70"; }));
}

TEST(WordRepair, SeparatorsAreUnderscoresAndApostrophesAfterADigit) {
    EXPECT_EQ(L"'_", WordUnitsOf([](wchar_t unit) {
                  return Repaired(L"10" + std::wstring(1, unit) + L"000") == "separators 10000";
              }));
    EXPECT_EQ("separators 1234.5", Repaired(L"1'234.5"));
    for (const wchar_t* word : {L"_1", L"'1", L"-1_0", L"1_x"}) {
        EXPECT_NE("separators", Repaired(word).substr(0, 10)) << Utf8(word);
    }
}

TEST(WordRepair, QuotesAreWrittenAroundWordsOfPlainCharacters) {
    EXPECT_EQ(L"+-." + kDigits + kCapitals + L"_" + kSmallLetters, WordUnitsOf([](wchar_t unit) {
                  const WordRepair repair = RepairWord(std::wstring(L"HE") + unit + L"X");
                  return repair.isCertain && std::string_view(repair.code) == "no-quotes";
              }));
    EXPECT_EQ("put it in quotes", RepairWord(L"HEVC").fix);
    EXPECT_EQ("\"HEVC\" needs quotes", RepairWord(L"HEVC").text);
    EXPECT_EQ("write one point, or put it in quotes", RepairWord(L"1.2.3").fix);
    EXPECT_EQ("\"1.2.3\" is not a number: it has a second point", RepairWord(L"1.2.3").text);
    EXPECT_EQ("second-point ?", Repaired(L"1.2.3.4.5"));
}

TEST(WordRepair, AsksForAnotherNumberWhereThereIsNone) {
    for (const wchar_t* word : {L"nan", L"NaN", L"inf", L"-inf", L"Infinity", L"-Infinity"}) {
        EXPECT_EQ("no-value ?", Repaired(word)) << Utf8(word);
        EXPECT_EQ("write another number", RepairWord(word).fix);
        EXPECT_EQ(Quoted(word) + " is not a number that can be written", RepairWord(word).text);
    }
}

TEST(WordRepair, ANumberWordBeginsWithANumber) {
    for (const wchar_t* word : {L"0", L"9x", L"-1", L"+1", L".5", L"1.", L"5.5.5", L"1e5"}) {
        EXPECT_TRUE(IsNumberWord(word)) << Utf8(word);
    }
    for (const wchar_t* word : {L"", L"-", L".", L"-.", L"x1", L"/1", L":1"}) {
        EXPECT_FALSE(IsNumberWord(word)) << Utf8(word);
    }
}

TEST(WordRepair, SaysWhatIsWrongAndWhatToWrite) {
    for (const auto& [word, text, fix] : std::vector<std::array<std::wstring, 3>>{
             {L"1e5", L"has an exponent, which the module does not read", L"write 100000"},
             {L"0x10", L"is a hexadecimal number, which the module does not read", L"write 16"},
             {L"70%", L"has a unit after the number", L"write 70"},
             {L"1_0", L"has separators between its digits", L"write 10"},
             {L".5", L"needs a digit before its point", L"write 0.5"},
             {L"yes", L"is not a value", L"write true"},
             {L"?", L"is not a value", L"write a number, true, false or a text in quotes"}}) {
        EXPECT_EQ(Quoted(word) + " " + Utf8(text), RepairWord(word).text);
        EXPECT_EQ(Utf8(fix), RepairWord(word).fix);
    }
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
