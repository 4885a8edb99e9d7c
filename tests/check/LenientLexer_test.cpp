// Which units the lexer takes for blanks, quotes, the ends of words and of texts, and what it writes instead.
#include "check/LenientToken.h"

#include "check/Quote.h"
#include "check/TextEdit.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zq::test {
namespace {

using TokenKind = LenientToken::Kind;

struct Lexed {
    std::vector<LenientToken> tokens;
    Problems problems;
    TextEdits unsafe;
};

Lexed Lex(std::wstring_view text) {
    Lexed lexed;
    LenientLexer lexer(text, lexed.problems, lexed.unsafe);
    for (LenientToken token = lexer.Next(); !token.Is(TokenKind::End); token = lexer.Next()) {
        lexed.tokens.push_back(token);
    }
    return lexed;
}

LenientToken First(std::wstring_view text) {
    Problems problems;
    TextEdits unsafe;
    return LenientLexer(text, problems, unsafe).Next();
}

// The tokens as they are in the text, with a bar between them.
std::string Tokens(std::wstring_view text) {
    std::wstring pieces;
    for (const LenientToken& token : Lex(text).tokens) {
        pieces += pieces.empty() ? L"" : L"|";
        pieces += text.substr(static_cast<size_t>(token.begin), static_cast<size_t>(token.end - token.begin));
    }
    return Utf8(pieces);
}

// The codes of the problems and the text with their edits: "comment: {}".
std::string Corrected(std::wstring_view text) {
    Lexed lexed = Lex(text);
    std::string codes;
    TextEdits edits = std::move(lexed.unsafe);
    for (const Problem& problem : lexed.problems) {
        codes += (codes.empty() ? "" : " ") + std::string(problem.code);
        edits.insert(edits.end(), problem.edits.begin(), problem.edits.end());
    }
    return codes + ": " + Utf8(EditedText(text, std::move(edits)).Text());
}

// The units for which this is true, as "20-7E A0".
template <class IsIt>
std::string UnitsOf(IsIt isIt) {
    constexpr uint32_t kEnd = 0x10000;
    const auto hex = [](uint32_t unit) {
        std::string digits = Utf8(HexEscapeOf(static_cast<wchar_t>(unit))).substr(2);
        return digits.substr(unit < 0x100 ? 2 : 0);
    };
    std::string units;
    for (uint32_t unit = 1; unit < kEnd; ++unit) {
        const uint32_t first = unit;
        while (unit < kEnd && isIt(static_cast<wchar_t>(unit))) {
            ++unit;
        }
        if (unit != first) {
            units += (units.empty() ? "" : " ") + hex(first) + (unit - first == 1 ? "" : '-' + hex(unit - 1));
        }
    }
    return units;
}

// What is put in place of a unit that is no white space but looks like it.
std::optional<std::wstring> InsteadOfBlank(wchar_t unit) {
    const Lexed lexed = Lex(std::wstring(1, unit) + L"{");
    const bool isBlank = lexed.problems.size() == 1 &&
                         std::string_view(lexed.problems[0].code) == "odd-blank" && lexed.tokens.size() == 1;
    return isBlank ? std::optional(lexed.problems[0].edits.at(0).text) : std::nullopt;
}

TEST(LenientLexer, WhiteSpaceIsWhatTheModuleSkips) {
    EXPECT_EQ("01-20", UnitsOf([](wchar_t unit) {
                  const Lexed lexed = Lex(std::wstring(1, unit) + L"{");
                  return lexed.problems.empty() && lexed.tokens.size() == 1 && lexed.tokens[0].begin == 1;
              }));
}

TEST(LenientLexer, RemovesInvisibleCharactersAndReplacesOtherBlanks) {
    EXPECT_EQ("AD 200B-200D 2060 FEFF", UnitsOf([](wchar_t unit) { return InsteadOfBlank(unit) == L""; }));
    EXPECT_EQ("85 A0 1680 2000-200A 2028-2029 202F 205F 3000",
              UnitsOf([](wchar_t unit) { return InsteadOfBlank(unit) == L" "; }));
    EXPECT_EQ("odd-blank: {  }", Corrected(L"{\u00A0\u200B\u3000}"));
    const Problem problem = Lex(L"{\u00A0\u200B}").problems.at(0);
    EXPECT_EQ("a no-break or other special blank (U+00A0) is not white space in JSON", problem.text);
    EXPECT_EQ("write an ordinary blank", problem.fix);
    EXPECT_EQ(1, problem.begin);
    EXPECT_EQ(3, problem.end);
    const Problem invisible = Lex(L"{\u2060}").problems.at(0);
    EXPECT_EQ("an invisible character (U+2060) is not white space in JSON", invisible.text);
    EXPECT_EQ("remove it", invisible.fix);
}

// A unit that begins a text which it ends too.
bool EnclosesWith(std::string_view code, wchar_t unit) {
    const Lexed lexed = Lex(std::wstring(1, unit) + L"x" + unit);
    return lexed.problems.size() == 1 && lexed.problems[0].code == code && lexed.tokens.size() == 1 &&
           lexed.tokens[0].Is(TokenKind::Text) && lexed.tokens[0].end == 3;
}

TEST(LenientLexer, KnowsTheQuotesThatAreNotStraight) {
    EXPECT_EQ("27 60", UnitsOf([](wchar_t unit) { return EnclosesWith("single-quotes", unit); }));
    EXPECT_EQ("AB B4 BB 2018-201F 2032-2033 FF02",
              UnitsOf([](wchar_t unit) { return EnclosesWith("curly-quotes", unit); }));
}

TEST(LenientLexer, AQuoteIsClosedByOneOfItsKind) {
    const auto closes = [](wchar_t open) {
        return UnitsOf(
            [open](wchar_t unit) { return First(std::wstring(1, open) + L"x" + unit + L",y").end == 3; });
    };
    EXPECT_EQ("27 60 B4 2018-201B 2032", closes(L'\''));
    EXPECT_EQ("27 60 B4 2018-201B 2032", closes(L'\u2018'));
    EXPECT_EQ("22 AB BB 201C-201F 2033 FF02", closes(L'\u201C'));
    // The straight one closes one of its own and may be replaced by a curly one.
    EXPECT_EQ("22 AB BB 201C-201F 2033 FF02", closes(L'"'));
}

TEST(LenientLexer, AQuoteClosesBeforePunctuationACommentAndTheEndOfTheLine) {
    const auto ends = [](std::wstring_view after) {
        return First(L"'a'" + std::wstring(after) + L"x'").end == 3;
    };
    EXPECT_EQ("0A 0D 23 2C 3A-3B 3D 5D 7D", UnitsOf([&](wchar_t unit) { return ends({&unit, 1}); }));
    EXPECT_TRUE(ends(L" \t\u00A0,"));
    EXPECT_TRUE(ends(L"//"));
    EXPECT_TRUE(ends(L"/*"));
    EXPECT_FALSE(ends(L"/"));
    EXPECT_FALSE(ends(L"*/"));
    EXPECT_EQ(3, First(L"'a'").end);
}

TEST(LenientLexer, AWordEndsBeforeWhatCannotBeInIt) {
    const auto ends = [](std::wstring_view after) {
        return First(L"a" + std::wstring(after) + L"b").end == 1;
    };
    EXPECT_EQ("01-20 22 2C 3A-3B 3D 5B 5D 7B 7D 85 A0 AD 1680 2000-200D 2028-2029 202F 205F-2060 3000 FEFF",
              UnitsOf([&](wchar_t unit) {
                  return ends({&unit, 1});
              }));
    EXPECT_TRUE(ends(L"//"));
    EXPECT_TRUE(ends(L"/*"));
    EXPECT_EQ("/|{", Tokens(L"/{"));
}

TEST(LenientLexer, EveryBracketColonAndCommaIsAToken) {
    const std::wstring_view text = L"{[\"a\":1,-2.5]}";
    EXPECT_EQ("{|[|\"a\"|:|1|,|-2.5|]|}", Tokens(text));
    const TokenKind wanted[] = {TokenKind::Open,  TokenKind::Open,  TokenKind::Text,
                                TokenKind::Colon, TokenKind::Word,  TokenKind::Comma,
                                TokenKind::Word,  TokenKind::Close, TokenKind::Close};
    const Lexed lexed = Lex(text);
    ASSERT_EQ(std::size(wanted), lexed.tokens.size());
    for (size_t i = 0; i < lexed.tokens.size(); ++i) {
        EXPECT_EQ(wanted[i], lexed.tokens[i].kind) << i;
        EXPECT_EQ(text[static_cast<size_t>(lexed.tokens[i].begin)], lexed.tokens[i].unit);
    }
    EXPECT_TRUE(lexed.problems.empty());
}

struct Correction {
    std::wstring_view written;
    std::string corrected;
};

void ExpectCorrections(const std::vector<Correction>& corrections) {
    for (const Correction& correction : corrections) {
        EXPECT_EQ(correction.corrected, Corrected(correction.written)) << Utf8(correction.written);
    }
}

TEST(LenientLexer, WritesTheColonsAndCommasThatAreMeant) {
    ExpectCorrections({{L"{\"A\"=1}", "equals-sign: {\"A\":1}"},
                       {L"{\"A\" => 1}", "equals-sign: {\"A\" : 1}"},
                       {L"{\"A\"==1}", "equals-sign equals-sign: {\"A\"::1}"},
                       {L"{\"A\":1;\"B\":2}", "semicolon: {\"A\":1,\"B\":2}"}});
    EXPECT_EQ("a colon separates a name from its value, not \"=>\"", Lex(L"a=>1").problems.at(0).text);
    EXPECT_EQ(TokenKind::Colon, First(L"=").kind);
    EXPECT_EQ(TokenKind::Comma, First(L";").kind);
}

TEST(LenientLexer, RemovesCommentsWithTheBlanksBeforeThem) {
    ExpectCorrections({{L"{ \t// x\n}", "comment: {\n}"},
                       {L"{} # x\r\n", "comment: {}\r\n"},
                       {L"{ /* x\n y */ }", "comment: { }"},
                       {L"{/*/ }", "comment: {"},
                       {L"{/**/}", "comment: {}"},
                       {L"// x", "comment: "},
                       {L" // x", "comment: "},
                       {L"{// x\n// y\n}", "comment comment: {\n\n}"}});
    const Problem problem = Lex(L"{  // x\n}").problems.at(0);
    EXPECT_EQ(3, problem.begin);
    EXPECT_EQ(7, problem.end);
}

TEST(LenientLexer, KeepsTheFirstVersionOfAConflict) {
    ExpectCorrections({{L"<<<<<<< ours\n1\n=======\n2\n>>>>>>> theirs\n,", "merge-conflict: \n1\n\n,"},
                       {L"<<<<<<< a\n1\n||||||| b\n2\n=======\n3\n>>>>>>> c\n,", "merge-conflict: \n1\n\n,"},
                       {L"{\n>>>>>>> theirs\n}", "merge-conflict: {\n\n}"},
                       {L"{\r>>>>>>> theirs\r}", "merge-conflict: {\r\r}"},
                       {L"1\n=======\n2", "merge-conflict: 1\n"},
                       {L"1 <<<<<<<\n", ": 1 <<<<<<<\n"},
                       {L"<<<<<<", ": <<<<<<"},
                       {L"<<<<<<<", "merge-conflict: "}});
}

TEST(LenientLexer, ReportsEachConflictOnce) {
    const auto codes = [](std::wstring_view text) { return Lex(text).problems.size(); };
    const std::wstring conflict = L"<<<<<<< a\n1\n=======\n2\n>>>>>>> b\n";
    EXPECT_EQ(1u, codes(conflict));
    EXPECT_EQ(2u, codes(conflict + conflict));
    // One whose middle line was removed by hand.
    const std::wstring rest = L"<<<<<<< a\n1\n>>>>>>> b\n";
    EXPECT_EQ(1u, codes(rest));
    EXPECT_EQ(2u, codes(rest + rest));
}

TEST(LenientLexer, AddsTheQuoteThatIsMissing) {
    ExpectCorrections({{L"{\"A: 1}", "unclosed-text: {\"A\": 1}"},
                       {L"{\"A:\"x\"}", "unopened-text: {\"A:\"\"x\"}"},
                       {L"\"x,", "unclosed-text: \"x\","},
                       {L"\"x }],", "unclosed-text: \"x\" }],"},
                       {L"\"x", "unclosed-text: \"x\""},
                       {L"\",", "unclosed-text: \"\","},
                       {L"\"x\n\"B\":1", "unclosed-text: \"x\"\n\"B\":1"},
                       {L"A\":1", "unopened-text: \"A\":1"}});
    EXPECT_TRUE(First(L"A\":1").isUnquoted);
    EXPECT_FALSE(First(L"\"A\":1").isUnquoted);
    EXPECT_FALSE(First(L"A:1").isUnquoted);
}

TEST(LenientLexer, ANameWithoutItsSecondQuoteEndsAtItsColon) {
    const auto nameGoesOn = [](wchar_t unit) {
        return First(L"\"A" + std::wstring(1, unit) + L"B: 1").end == 4;
    };
    EXPECT_EQ("24 2D-2E 30-39 41-5A 5F 61-7A 80-FFFF", UnitsOf(nameGoesOn));
    const auto valueBegins = [](wchar_t unit) { return First(L"\"A:" + std::wstring(1, unit)).end == 2; };
    EXPECT_EQ("01-20 5B 7B", UnitsOf(valueBegins));
    EXPECT_EQ(4, First(L"\": 1").end); // a name has a character at least
}

TEST(LenientLexer, ATextGoesOnOverALineBreakUnlessTheNextLineBeginsAnew) {
    const auto goesOn = [](wchar_t unit) {
        return First(L"\"x\n" + std::wstring(1, unit) + L"y\",").end == 6;
    };
    EXPECT_FALSE(goesOn(L'}'));
    EXPECT_FALSE(goesOn(L']'));
    EXPECT_FALSE(goesOn(L'"'));
    EXPECT_TRUE(goesOn(L'{'));
    EXPECT_TRUE(goesOn(L'y'));
    EXPECT_EQ(7, First(L"\"x\n  y\",").end);
    EXPECT_EQ(2, First(L"\"x\n  }y\",").end);
}

TEST(LenientLexer, ReplacesOtherQuotesAndEscapesStraightOnesInside) {
    ExpectCorrections({{L"{'A':'x'}", "single-quotes: {\"A\":\"x\"}"},
                       {L"{'A':1,\n'B':2}", "single-quotes single-quotes: {\"A\":1,\n\"B\":2}"},
                       {L"'say \"x\"'", "single-quotes: \"say \\\"x\\\"\""},
                       {L"'\"x\" he said'", "single-quotes: \"\\\"x\\\" he said\""},
                       {L"'it\\'s'", "single-quotes: \"it's\""},
                       {L"'a\\\\'", "single-quotes: \"a\\\\\""},
                       {L"'it's'", "single-quotes: \"it's\""},
                       {L"'x,", "single-quotes: \"x\","},
                       {L"\u201CA\u201D:'x'", "curly-quotes single-quotes: \"A\":\"x\""},
                       {L"'x\u2019", "curly-quotes: \"x\""},
                       {L"\u201Cx\",", "curly-quotes: \"x\","},
                       {L"\"x\u201D,", "curly-quotes: \"x\","},
                       {L"\"x\u201Dy\",", ": \"x\u201Dy\","}});
}

TEST(LenientLexer, EscapesQuotesInsideAText) {
    ExpectCorrections({{L"\"My \"best\" server\",", "inner-quotes: \"My \\\"best\\\" server\","},
                       {L"\"a \"b\" c \"d\" e\"", "inner-quotes: \"a \\\"b\\\" c \\\"d\\\" e\""},
                       {L"\"a\" b", ": \"a\" b"},
                       {L"\"a\"{", ": \"a\"{"},
                       {L"\"a\"[", ": \"a\"["},
                       {L"\"a\"b\"", "unopened-text: \"a\"\"b\""}});
}

TEST(LenientLexer, AQuoteBeforeABlankOrAnotherTokenIsNotInsideAText) {
    EXPECT_EQ("01-20 22-23 2C 3A-3B 3D 5B 5D 7B 7D", UnitsOf([](wchar_t unit) {
                  return First(L"\"a\"" + std::wstring(1, unit) + L"b\" c\"").end == 3;
              }));
    // Nor is one of a text that does not end.
    EXPECT_EQ(3, First(L"\"a\"b\" c").end);
    // Nor are the quotes of a name.
    EXPECT_EQ(3, First(L"\"a\"b\" c\":1").end);
    EXPECT_EQ(3, First(L"\"a\"b\" c\" :1").end);
}

TEST(LenientLexer, EscapesTwentyQuotesInsideATextAtMost) {
    const auto withPairs = [](int pairs) {
        std::wstring text = L"\"";
        for (int i = 0; i < pairs; ++i) {
            text += L"a\"b\"";
        }
        return text + L"c\"";
    };
    EXPECT_EQ(20u, Lex(withPairs(10)).problems.at(0).edits.size());
    EXPECT_EQ(static_cast<int32_t>(withPairs(10).size()), First(withPairs(10)).end);
    EXPECT_EQ(3, First(withPairs(11)).end);
}

TEST(LenientLexer, DoublesTheBackslashesOfAPathThatEndsInOne) {
    ExpectCorrections({{L"\"C:\\new\\\"", "backslash: \"C:\\\\new\\\\\""},
                       {L"\"C:\\new\\\",", "backslash: \"C:\\\\new\\\\\","},
                       {L"\"C:\\\\new\\\"", "backslash: \"C:\\\\new\\\\\""},
                       {L"\"\\\"", "backslash: \"\\\\\""},
                       {L"\"C:\\\\new\\\\\"", ": \"C:\\\\new\\\\\""}});
}

TEST(LenientLexer, ShowsThePieceThatIsWrong) {
    for (const auto& [text, shown] :
         std::vector<std::pair<std::wstring_view, std::wstring_view>>{{L"{ # x\n}", L"# x"},
                                                                      {L"{/* x */}", L"/* x */"},
                                                                      {L"{\u00A0\u2003}", L"\u00A0\u2003"},
                                                                      {L"{\n<<<<<<< a\n}", L"<<<<<<< a"},
                                                                      {L"{\"A\"=>1}", L"=>"},
                                                                      {L"{\"A\"=1}", L"="},
                                                                      {L"{\"A\":1;}", L";"},
                                                                      {L"\"x\u201D,", L"\u201D"},
                                                                      {L"\"C:\\a\\\",", L"C:\\a\\\""},
                                                                      {L"\"C:\\\\a\\\",", L"\\\""},
                                                                      {L"\"A: 1,", L"\"A"},
                                                                      {L"\"x,", L"\"x"},
                                                                      {L"\"a \"b\" c\"", L"\"b\" c"},
                                                                      {L"{'A':'x',", L"'A':'x'"},
                                                                      {L"{'A':\"x\",\n'B'", L"'A'"},
                                                                      {L"{A\":1}", L"A\""}}) {
        const Problem problem = Lex(text).problems.at(0);
        EXPECT_EQ(shown, text.substr(static_cast<size_t>(problem.begin),
                                     static_cast<size_t>(problem.end - problem.begin)))
            << Utf8(text);
    }
}

TEST(LenientLexer, MeasuresTheIndentationOfEachLine) {
    const Lexed lexed = Lex(L"{\n\t \u00A0\"A\": 1\r  }\n]");
    std::vector<int32_t> indents;
    std::string firsts;
    for (const LenientToken& token : lexed.tokens) {
        indents.push_back(token.indent);
        firsts += token.isFirstOfLine ? 'f' : '-';
    }
    EXPECT_EQ((std::vector<int32_t>{0, 3, 3, 3, 2, 0}), indents);
    EXPECT_EQ("ff--ff", firsts);
}

} // namespace
} // namespace zq::test
