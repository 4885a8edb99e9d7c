// What is written in a text that the module cannot read so that it can, and where only the author knows.
#include "check/Recovery.h"

#include "check/Quote.h"
#include "check/TextEdit.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace zq::test {
namespace {

// The codes of the problems and the text with all edits: "no-colon: {"A":1}". A question mark follows the
// codes where only the author knows what is meant.
std::string Recovered(std::wstring_view text) {
    zq::Recovered recovered = Recover(text);
    std::string codes;
    for (const Problem& problem : recovered.problems) {
        codes += (codes.empty() ? "" : " ") + std::string(problem.code);
    }
    return codes + (recovered.isCertain ? ": " : "?: ") +
           Utf8(EditedText(text, std::move(recovered.edits)).Text());
}

struct Recovery {
    std::wstring_view written;
    std::string recovered;
};

void ExpectRecoveries(const std::vector<Recovery>& recoveries) {
    for (const Recovery& recovery : recoveries) {
        EXPECT_EQ(recovery.recovered, Recovered(recovery.written)) << Utf8(recovery.written);
    }
}

TEST(Recovery, LeavesWhatCanBeReadAlone) {
    ExpectRecoveries({{L"{\"A\":1}", ": {\"A\":1}"},
                      {L"[1,{},[]]", ": [1,{},[]]"},
                      {L"{\"A\":70,\"B\":5}", ": {\"A\":70,\"B\":5}"},
                      {L"true ", ": true "}});
}

TEST(Recovery, RemovesWhatIsTooMuch) {
    ExpectRecoveries({{L"[1,,2]", "surplus-comma: [1,2]"},
                      {L"{,\"A\":1}", "surplus-comma: {\"A\":1}"},
                      {L",{}", "surplus-comma: {}"},
                      {L"]{}", "wrong-bracket: {}"},
                      {L"{\"A\"::1}", "surplus-colon: {\"A\":1}"},
                      {L"{\"A\":::1}", "surplus-colon surplus-colon: {\"A\":1}"},
                      {L"{}}", "trailing: {}"},
                      {L"{} },]", "trailing: {}"},
                      {L"{},", "trailing: {}"},
                      {L"{} x", "trailing?: {} "},
                      {L"{}{}", "trailing?: {}"}});
}

TEST(Recovery, WritesTheBracketsThatAreMissing) {
    ExpectRecoveries({{L"{\"A\":1", "unclosed: {\"A\":1}"},
                      {L"{\"A\":[1", "unclosed: {\"A\":[1]}"},
                      {L"{\"A\":[{\"B\":1}", "unclosed: {\"A\":[{\"B\":1}]}"},
                      {L"\"A\":1}", "no-brace: {\"A\":1}"},
                      {L"{\"A\":\"B\":1}}", "no-brace: {\"A\":{\"B\":1}}"},
                      {L"{\"A\" \"B\":1}}", "no-brace: {\"A\": { \"B\":1}}"},
                      {L"[\"B\":1}]", "no-brace: [{\"B\":1}]"},
                      {L"[1}", "wrong-bracket: [1]"},
                      {L"{\"A\":1]", "wrong-bracket: {\"A\":1}"},
                      {L"[\"B\":1]", "no-brace?: [1]"},
                      {L"{\n\"A\":{\n\"B\":1\n}", "unclosed: {\n\"A\":{},\n\"B\":1\n}"},
                      {L"{\n\"A\":{ \"B\":1\n", "unclosed: {\n\"A\":{ \"B\":1\n}}"}});
}

TEST(Recovery, ClosesByTheIndentation) {
    ExpectRecoveries(
        {{L"{\n \"A\":{\n  \"B\":1,\n \"C\":2\n}", "unclosed: {\n \"A\":{\n  \"B\":1},\n \"C\":2\n}"},
         {L"{\n \"A\":{\n  \"B\":1\n \"C\":2\n}", "unclosed: {\n \"A\":{\n  \"B\":1},\n \"C\":2\n}"},
         {L"{\n \"A\":[\n  1\n \"C\":2\n}", "unclosed: {\n \"A\":[\n  1],\n \"C\":2\n}"}});
}

TEST(Recovery, WritesTheNamesColonsAndValuesThatAreMissing) {
    ExpectRecoveries({{L"{\"A\" 1}", "no-colon: {\"A\": 1}"},
                      {L"{\"A\" {}}", "no-colon: {\"A\": {}}"},
                      {L"{A:1}", "no-quotes: {\"A\":1}"},
                      {L"{A{}}", "no-quotes no-colon: {\"A\":{}}"},
                      {L"{\"A\"}", "no-value?: {\"A\":null}"},
                      {L"{\"A\":}", "no-value?: {\"A\":null}"},
                      {L"{\"A\":,\"B\":1}", "no-value?: {\"A\":null,\"B\":1}"},
                      {L"{\"A\":\"B\":1}", "no-value?: {\"A\":null,\"B\":1}"},
                      {L"{\"A\"\n1}", "no-value no-name?: {\"A\":null\n}"},
                      {L"{:1}", "no-name?: {\"\":1}"},
                      {L"{{}}", "no-name?: {\"\":{}}"},
                      {L"{1}", "no-name?: {}"},
                      {L"{\"A\":1:2}", "no-value no-quotes?: {\"A\":null,\"1\":2}"},
                      {L"{\"A\":x:2}", "no-value no-quotes?: {\"A\":null,\"x\":2}"},
                      {L"{\"A\":[1]:,\"B\":2}", "no-name?: {\"A\":[1],\"B\":2}"},
                      {L"[:1]", "no-value?: [1]"}});
}

TEST(Recovery, WritesWhatIsMissingAtOneOffsetInTheOrderOfTheText) {
    ExpectRecoveries({{L"{\"A\":", "no-value unclosed?: {\"A\":null}"},
                      {L"{\"A\"", "no-value unclosed?: {\"A\":null}"},
                      {L"{\"A", "unclosed-text no-value unclosed?: {\"A\":null}"},
                      {L"{", "unclosed: {}"},
                      {L"[\"A", "unclosed-text unclosed: [\"A\"]"}});
}

TEST(Recovery, WritesTheValuesThatAreMeant) {
    ExpectRecoveries({{L"{\"A\":yes}", "wrong-literal: {\"A\":true}"},
                      {L"[1e2]", "exponent: [100]"},
                      {L"{\"A\":ture}", "wrong-literal?: {\"A\":null}"},
                      {L"{\"A\":70,5}", "decimal-comma: {\"A\":70.5}"},
                      {L"{\"A\":70 ,5}", "no-name?: {\"A\":70 ,}"},
                      {L"{\"A\":70, 5}", "no-name?: {\"A\":70, }"},
                      {L"{\"A\":70,x}", "no-name?: {\"A\":70,}"},
                      {L"{\"A\":70,5:1}", "no-quotes: {\"A\":70,\"5\":1}"},
                      {L"[70,5]", ": [70,5]"},
                      {L"{\"A\":70 Mbps}", "unit: {\"A\":70}"},
                      {L"{\"A\":70 %}", "unit: {\"A\":70}"},
                      {L"{\"A\":70 Mb/s,\"B\":1}", "unit: {\"A\":70,\"B\":1}"},
                      {L"{\"A\":70 M5}", "no-name?: {\"A\":70 }"},
                      {L"{\"A\":70\nMbps}", "no-name?: {\"A\":70\n}"},
                      {L"{\"A\":70 B:1}", "no-quotes: {\"A\":70 \"B\":1}"}});
}

TEST(Recovery, ADocumentIsNotInventedWhereThereIsNone) {
    for (const auto& [text, codes] :
         std::vector<std::pair<std::wstring_view, std::string>>{{L"", "empty"},
                                                                {L" \n", "empty"},
                                                                {L"yes", "wrong-literal"},
                                                                {L"5", "number-at-end"},
                                                                {L":1", "no-name"}}) {
        const zq::Recovered recovered = Recover(text);
        EXPECT_FALSE(recovered.hasDocument) << Utf8(text);
        EXPECT_FALSE(recovered.isCertain) << Utf8(text);
        EXPECT_EQ(codes, recovered.problems.at(0).code) << Utf8(text);
    }
    // What is read instead is an empty one.
    ExpectRecoveries({{L" \n", "empty?:  \n[]"},
                      {L"yes", "wrong-literal?: []"},
                      {L"5", "number-at-end?: []"},
                      {L":1", "no-name trailing?: []"}});
    for (const std::wstring_view text : {L"{", L"\"A\":1}", L"]{}", L"[ture]"}) {
        EXPECT_TRUE(Recover(text).hasDocument) << Utf8(text);
    }
}

TEST(Recovery, StopsAtFiveHundredProblems) {
    std::wstring text = L"{";
    for (int i = 0; i < 600; ++i) {
        text += L"\"A\":yes,";
    }
    const zq::Recovered recovered = Recover(text + L"\"B\":1}");
    EXPECT_LE(500u, recovered.problems.size());
    EXPECT_GE(501u, recovered.problems.size());
    EXPECT_FALSE(recovered.isCertain);
}

TEST(Recovery, SaysWhatToWriteAndWhere) {
    struct Advice {
        std::wstring_view written;
        std::string shown; // the piece of the text that the problem points at
        std::string text;
        std::string fix;
    };
    for (const Advice& advice : std::vector<Advice>{
             {L"\"A\":1}", "\"A\"", "the document does not begin with \"{\"", "write \"{\" before \"A\""},
             {L"{\"A\" \"B\":1}}", "\"A\"", "a colon and \"{\" are missing after the name \"A\"",
              "write \": {\" before \"B\""},
             {L"{\"A\":\"B\":1}}", "\"A\"", "\"{\" is missing after the name \"A\"",
              "write \"{\" before \"B\""},
             {L"[\"B\":1}]", "\"B\"", "\"{\" is missing before this name", "write \"{\" before \"B\""},
             {L"[\"B\":1]", "\"B\"", "an array holds values without names",
              "put the member into \"{\" and \"}\""},
             {L"]{}", "]", "\"]\" closes nothing", "remove it"},
             {L"[1}", "}", "\"}\" does not close \"[\"", "write \"]\""},
             {L"{\"A\":1]", "]", "\"]\" does not close \"{\"", "write \"}\""},
             {L"{\"A\":1", "{", "this bracket is not closed before the file ends",
              "add \"}\" at the end of the file"},
             {L"{\"A\":[1", "[", "this bracket and those around it are not closed before the file ends",
              "add \"]}\" at the end of the file"},
             {L"{\n \"A\":[\n  1\n \"C\":2\n}", "[", "this bracket is not closed", "add \"]\" before \"C\""},
             {L"[1,,2]", ",", "a value is missing before this comma", "remove the comma"},
             {L"{\"A\"::1}", ":", "one colon is enough", "remove it"},
             {L"{\"A\" 1}", "1", "the colon between name and value is missing", "write a colon after \"A\""},
             {L"{A:1}", "A", "the name \"A\" needs quotes", "put it in double quotes"},
             {L"{\"A\"}", "\"A\"", "the name \"A\" has no value", "write a colon and a value after it"},
             {L"{\"A\":}", "}", "the name \"A\" has no value", "write a value after the colon"},
             {L"{\"A\":B:1}", "\"A\"", "the name \"A\" has no value", "write a value after the colon"},
             {L"{:1}", ":", "a name in quotes is missing here", "write \"Name\": before it"},
             {L"[:1]", ":", "a colon is not expected in an array", "remove it"},
             {L"{\"A\":[1]:2}", ":", "a colon is not expected here", "remove it, or write a name"},
             {L"{\"A\":1,0x10}", "0x10",
              "\"0x10\" is not expected here: a member begins with a name in quotes", "write \"Name\": 16"},
             {L"{\"A\":1,x y}", "x", "\"x\" is not expected here: a member begins with a name in quotes",
              "write \"Name\": \"x\""},
             {L"{0x10}", "0x10", "\"0x10\" is not expected here: a member begins with a name in quotes",
              "write \"Name\": 16"},
             {L"{5}", "5", "\"5\" is not expected here: a member begins with a name in quotes",
              "write \"Name\": and a value"},
             {L"{\"A\":70,5}", "70,5", "a number has a decimal point, not a comma", "write 70.5"},
             {L"{\"A\":70 Mbps}", "Mbps", "a number cannot have a unit", "remove \"Mbps\""},
             {L"", "", "the file holds no document", "write {} or [] at least"},
             {L"5", "5", "the file holds only the number \"5\"", "write an object, as {\"Name\": 5}"},
             {L":1", ":", "the document does not begin with a bracket", "write \"{\" and a name in quotes"},
             {L"{}] ,", "] ,", "\"]\" closes nothing: the document has ended", "remove it"},
             {L"{},", ",", "a comma follows the end of the document", "remove it"},
             {L"{} x y ", "x y", "text follows the end of the document",
              "remove it, or the bracket that ends the document too early"}}) {
        const Problems problems = Recover(advice.written).problems;
        ASSERT_FALSE(problems.empty()) << Utf8(advice.written);
        const Problem& problem = problems[0];
        EXPECT_EQ(advice.shown, Utf8(advice.written.substr(static_cast<size_t>(problem.begin),
                                                           static_cast<size_t>(problem.end - problem.begin))))
            << Utf8(advice.written);
        EXPECT_EQ(advice.text, problem.text) << Utf8(advice.written);
        EXPECT_EQ(advice.fix, problem.fix) << Utf8(advice.written);
    }
}

} // namespace
} // namespace zq::test
