// What the check says of single tokens, by the units that they hold, and what it writes instead.
#include "check/Checks.h"

#include "check/Checking.h"
#include "check/DocumentMap.h"
#include "check/Quote.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace zq::test {
namespace {

using namespace std::string_literals;

// "code: what is written instead" of each problem that a text with this inside has, whatever a save does.
Lines SaidInside(const std::string& inside) {
    const FileCheck check(ConfigFile::Settings, "{\"A\":\"" + inside + "\"}", {});
    Lines lines;
    for (const Problem& problem : check.All()) {
        std::wstring instead;
        for (const TextEdit& edit : problem.edits) {
            instead += (instead.empty() ? L"" : L" ") + edit.text;
        }
        lines.push_back(problem.code + ": "s + Utf8(instead));
    }
    return lines;
}

Problem Only(std::string_view bytes) {
    const FileCheck check(ConfigFile::Settings, bytes, {});
    EXPECT_EQ(1u, check.All().size()) << bytes;
    return check.All().empty() ? Problem{} : check.All().front();
}

// The ASCII characters for which this is true.
template <class IsIt>
std::string CharactersOf(IsIt isIt) {
    std::string characters;
    for (char character = 1; character < 127; ++character) {
        characters += isIt(character) ? std::string(1, character) : "";
    }
    return characters;
}

constexpr const char* kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

TEST(CheckTokens, WritesAControlCharacterAsItsEscape) {
    for (int unit = 1; unit < 0x20; ++unit) {
        const std::string escape = unit == '\n'   ? "\\n"
                                   : unit == '\r' ? "\\r"
                                   : unit == '\t' ? "\\t"
                                                  : Utf8(HexEscapeOf(static_cast<wchar_t>(unit)));
        EXPECT_EQ(Lines({"raw-control: " + escape}),
                  SaidInside("x" + std::string(1, static_cast<char>(unit)) + "y"))
            << unit;
    }
    EXPECT_EQ(Lines(), SaidInside(" !~\x7F"));
    EXPECT_EQ(Lines({"raw-control: \\t \\u0001"}), SaidInside("\t\x01"));
}

TEST(CheckTokens, NamesTheControlCharacter) {
    EXPECT_EQ("a tab inside a text", Only("{\"A\":\"x\ty\"}").text);
    EXPECT_EQ("write \\t", Only("{\"A\":\"x\ty\"}").fix);
    EXPECT_EQ("a control character inside a text", Only("{\"A\":\"x\x1Fy\"}").text);
    EXPECT_EQ("write \\u001F", Only("{\"A\":\"x\x1Fy\"}").fix);
    for (const char* const text : {"{\"A\":\"x\ny\"}", "{\"A\":\"x\ry\"}"}) {
        EXPECT_EQ("a line break inside a text", Only(text).text);
        EXPECT_EQ("write \\n, or add the closing quote if that is missing", Only(text).fix);
    }
}

TEST(CheckTokens, KnowsTheEscapesThatTheModuleReads) {
    const auto isKnown = [](char letter) { return SaidInside("x\\"s + letter + "0041").empty(); };
    EXPECT_EQ("\"/\\nrtu", CharactersOf(isKnown));
    EXPECT_EQ(Lines({"lost-escape: \\u0008"}), SaidInside("x\\b"));
    EXPECT_EQ(Lines({"lost-escape: \\u000C"}), SaidInside("x\\f"));
    EXPECT_EQ(Lines({"lost-escape: "}), SaidInside("x\\v"));
    EXPECT_EQ("write \\u000C", Only(R"({"A":"x\f"})").fix);
    EXPECT_EQ("write two backslashes for a backslash", Only(R"({"A":"x\v"})").fix);
}

TEST(CheckTokens, AHexadecimalEscapeHasFourDigits) {
    for (size_t at = 0; at < 4; ++at) {
        const auto isDigit = [at](char character) {
            std::string escape = "\\u0041";
            escape[2 + at] = character;
            const Lines said = SaidInside("x" + escape);
            return std::none_of(said.begin(), said.end(),
                                [](const std::string& line) { return line.starts_with("wrong-escape"); });
        };
        std::string digits = CharactersOf(isDigit);
        std::erase(digits, '"'); // ends the text
        EXPECT_EQ("0123456789ABCDEFabcdef", digits) << at;
    }
}

TEST(CheckTokens, WarnsOfTheEscapesThatASaveRewrites) {
    for (const auto& [escape, said] :
         std::vector<std::pair<std::string, Lines>>{{"\\u0001", {}},
                                                    {"\\u0007", {}},
                                                    {"\\u0008", {"save-hazard: "}},
                                                    {"\\u0009", {}},
                                                    {"\\u000B", {}},
                                                    {"\\u000C", {"save-hazard: "}},
                                                    {"\\u000D", {}},
                                                    {"\\u007F", {}},
                                                    {"\\u0080", {"save-hazard: "}},
                                                    {"\\uFFFD", {"save-hazard: "}},
                                                    {"\\u00E9\\u00E8", {"save-hazard: "}},
                                                    {"\\u0000", {"zero-character: "}}}) {
        EXPECT_EQ(said, SaidInside("x" + escape)) << escape;
    }
}

TEST(CheckTokens, APathBeginsWithADriveOrAShare) {
    const auto isDrive = [](char drive) {
        return SaidInside(drive + ":\\x\\y"s).at(0).starts_with("backslash");
    };
    EXPECT_EQ(kLetters, CharactersOf(isDrive));
    const auto isShare = [](char first) {
        const Lines said = SaidInside("\\\\"s + first + "a\\x");
        return !said.empty() && said[0].starts_with("backslash");
    };
    EXPECT_EQ(kLetters, CharactersOf(isShare));
    EXPECT_EQ(Lines({"backslash: \\ \\"}), SaidInside("C:\\x\\y"));
    EXPECT_EQ(Lines({"backslash: \\"}), SaidInside("C:\\x"));
    // Whoever writes one of these knows escapes.
    EXPECT_EQ(Lines({"lost-escape: "}), SaidInside("C:\\x\\\"y"));
    EXPECT_EQ(Lines({"lost-escape: "}), SaidInside("C:\\x\\\\y"));
}

TEST(CheckTokens, AHexadecimalEscapeIsNoFolder) {
    const auto isEscape = [](char digit) {
        const Lines said = SaidInside("C:\\u004"s + digit + "\\n");
        return said.empty() || !said[0].starts_with("backslash");
    };
    std::string digits = CharactersOf(isEscape);
    std::erase_if(digits, [](char digit) { return digit == '"' || digit == '\\'; });
    EXPECT_EQ("0123456789ABCDEFabcdef", digits);
}

TEST(CheckTokens, ALetterThatTheReaderTakesForAQuoteIsGivenOne) {
    const auto isGiven = [](char first) {
        const std::wstring text = {L'{', static_cast<wchar_t>(first), L'A', L'"', L':', L'1', L'}'};
        JsonRoot root;
        DocumentMap document;
        document.Read(root, text);
        Problems problems;
        CheckTokens(text, document, problems);
        return problems.size() == 1 && problems[0].code == "lost-unit"s &&
               problems[0].edits == TextEdits{{1, 1, L"\""}};
    };
    std::string letters = kLetters;
    EXPECT_EQ(letters.insert(26, "_"), CharactersOf(isGiven));
}

TEST(CheckTokens, WritesNumbersAsJsonDoes) {
    for (const auto& [number, written] : std::vector<std::pair<std::string, std::wstring>>{{"+1", L"1"},
                                                                                           {"+0", L"0"},
                                                                                           {"007", L"7"},
                                                                                           {"00", L"0"},
                                                                                           {"-00", L"-0"},
                                                                                           {"-01", L"-1"},
                                                                                           {"00.5", L"0.5"},
                                                                                           {"1.", L"1.0"},
                                                                                           {"-.5", L"-0.5"},
                                                                                           {"+.", L"0.0"},
                                                                                           {"0.", L"0.0"}}) {
        const Problem problem = Only("{\"A\":" + number + "}");
        EXPECT_STREQ("odd-number", problem.code) << number;
        EXPECT_EQ((TextEdits{{5, 5 + static_cast<int32_t>(number.size()), written}}), problem.edits)
            << number;
        EXPECT_EQ("write " + Utf8(written), problem.fix);
    }
    for (const char* const number : {"0", "-0", "0.5", "-0.5", "10", "100.0"}) {
        EXPECT_EQ(Lines(), Check("{\"A\":"s + number + "}")) << number;
    }
}

TEST(CheckTokens, ComparesIntegersWithTheLargest) {
    const auto isTooLarge = [](const std::string& number) {
        const Lines said = Check("{\"A\":" + number + "}");
        return said == Lines({"1:6 warning too-large"});
    };
    EXPECT_FALSE(isTooLarge("9223372036854775807"));
    EXPECT_TRUE(isTooLarge("9223372036854775808"));
    EXPECT_TRUE(isTooLarge("10000000000000000000"));
    EXPECT_FALSE(isTooLarge("999999999999999999"));
    EXPECT_EQ("\"-9999999999999999999\" does not fit into 64 bits and is read as -9223372036854775807",
              Only(R"({"A":-9999999999999999999})").text);
    EXPECT_EQ("\"9999999999999999999\" does not fit into 64 bits and is read as 9223372036854775807",
              Only(R"({"A":9999999999999999999})").text);
}

TEST(CheckTokens, WritesLiteralsInLowerCase) {
    for (const auto& [word, lower] : std::vector<std::pair<std::string, std::wstring>>{
             {"True", L"true"}, {"tRUE", L"true"}, {"FALSE", L"false"}, {"falsE", L"false"}}) {
        const Problem problem = Only("{\"A\":" + word + "}");
        EXPECT_STREQ("literal-case", problem.code);
        EXPECT_EQ((TextEdits{{5, 5 + static_cast<int32_t>(word.size()), lower}}), problem.edits) << word;
        EXPECT_EQ("write " + Utf8(lower), problem.fix);
    }
}

TEST(CheckTokens, ALineBreakInATextOrALostQuoteShowsThatItIsMisread) {
    const auto isMisread = [](const char* code, const std::wstring& edit) {
        return IsMisread({{Severity::Warning, code, 0, 1, "", "", {{0, 1, edit}}}});
    };
    EXPECT_TRUE(isMisread("lost-unit", L""));
    EXPECT_TRUE(isMisread("raw-control", L"\\n"));
    EXPECT_TRUE(isMisread("raw-control", L"\\r"));
    EXPECT_FALSE(isMisread("raw-control", L"\\t"));
    EXPECT_FALSE(isMisread("odd-number", L"\\n"));
    EXPECT_FALSE(IsMisread({}));
}

TEST(CheckTokens, SaysNothingOfLiteralsInLowerCase) {
    EXPECT_EQ(Lines(), Check(R"({"A":true,"B":false})"));
    EXPECT_EQ(Lines({"1:6 warning skipped-null"}), Check(R"({"A":null})"));
}

TEST(CheckTokens, PutsAMissingCommaRightAfterTheValueBeforeIt) {
    for (const char* const blanks : {"", " ", "\t", "\r\n", "\n \t"}) {
        const Problem problem = Only("{\"A\":1"s + blanks + "\"B\":2}");
        EXPECT_STREQ("missing-comma", problem.code);
        EXPECT_EQ((TextEdits{{6, 6, L","}}), problem.edits) << testing::PrintToString(blanks);
        EXPECT_EQ(6 + static_cast<int32_t>(std::string(blanks).size()), problem.begin);
        EXPECT_EQ(problem.begin + 1, problem.end);
    }
    const Problem trailing = Only(R"({"A":1,})");
    EXPECT_STREQ("trailing-comma", trailing.code);
    EXPECT_EQ((TextEdits{{6, 7, L""}}), trailing.edits);
}

} // namespace
} // namespace zq::test
