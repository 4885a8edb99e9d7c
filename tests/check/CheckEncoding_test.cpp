// What the check says of the bytes of a file: its marks, zeros, characters beyond ASCII and what follows its
// end.
#include "check/Checking.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zq::test {
namespace {

using namespace std::string_literals;

// The problem with this code, as "begin-end text | fix".
std::string SaidAt(std::string_view bytes, std::string_view code) {
    const FileCheck check(ConfigFile::Settings, bytes, {});
    std::string said;
    for (const Problem& problem : check.All()) {
        if (problem.code == code) {
            said += std::to_string(problem.begin) + '-' + std::to_string(problem.end) + ' ' + problem.text +
                    " | " + problem.fix;
        }
    }
    return said;
}

TEST(CheckEncoding, NamesTheEncodingThatTheModuleCannotRead) {
    const std::string fix = "save it as UTF-8 without a byte order mark";
    const std::string mark =
        "0-0 the file begins with a byte order mark, three bytes that the module does not expect | ";
    EXPECT_EQ(mark + fix, SaidAt("\xEF\xBB\xBF{}", "byte-order-mark"));
    for (const std::string& bytes : {"\xFF\xFE{\0}\0"s, "\xFE\xFF\0{\0}"s, "{\0}\0"s, "\0{\0}"s}) {
        EXPECT_EQ("0-0 the file is in UTF-16, which the module cannot read | " + fix,
                  SaidAt(bytes, "utf-16"));
    }
    for (const std::string& bytes : {"\xFF\xFE\0\0{\0\0\0}\0\0\0"s, "\0\0\xFE\xFF\0\0\0{\0\0\0}"s}) {
        EXPECT_EQ("0-0 the file is in UTF-32, which the module cannot read | " + fix,
                  SaidAt(bytes, "utf-32"));
    }
}

TEST(CheckEncoding, ShowsARunOfCharactersOnceWithEightEscapesAtMost) {
    const std::string text =
        " is not ASCII: the module reads other characters or refuses the file, depending on the "
        "machine's code page | write ";
    EXPECT_EQ("6-7 \"\\u0080\"" + text + "\\u0080", SaidAt("{\"A\":\"\xC2\x80\"}", "non-ascii"));
    EXPECT_EQ("6-8 \"\xC3\xA9\xE2\x82\xAC\"" + text + "\\u00E9\\u20AC",
              SaidAt("{\"A\":\"\xC3\xA9\xE2\x82\xAC\"}", "non-ascii"));
    EXPECT_EQ("", SaidAt("{\"A\":\"\x7F\"}", "non-ascii"));
    std::string eight;
    std::string escapes;
    for (int i = 0; i < 8; ++i) {
        eight += "\xC3\xA9";
        escapes += "\\u00E9";
    }
    EXPECT_EQ("6-14 \"" + eight + "\"" + text + escapes, SaidAt("{\"A\":\"" + eight + "\"}", "non-ascii"));
    EXPECT_EQ("6-15 \"" + eight + "\xC3\xA9\"" + text + escapes + " ...",
              SaidAt("{\"A\":\"" + eight + "\xC3\xA9\"}", "non-ascii"));
}

TEST(CheckEncoding, LeavesCharactersThatAreEditedAwayToTheirProblem) {
    EXPECT_EQ(Lines({"1:2 error odd-blank"}), Check("{\xC2\xA0\"A\":1}"));
    EXPECT_EQ(Lines({"1:2 error odd-blank", "1:8 warning non-ascii"}), Check("{\xC2\xA0\"A\":\"\xC3\xA9\"}"));
}

TEST(CheckEncoding, CountsTheZerosAfterTheEnd) {
    EXPECT_EQ("2-2 the file ends in zero bytes (3), as after a power cut | remove them, and check whether "
              "anything before "
              "them is missing",
              SaidAt("{}\0\0\0"s, "zero-bytes"));
    EXPECT_EQ("2-2 the file ends in zero bytes (1), as after a power cut | remove them, and check whether "
              "anything before "
              "them is missing",
              SaidAt("{}\0"s, "zero-bytes"));
    EXPECT_EQ("0-0 the file holds nothing but zero bytes; was it written when the machine lost power? | "
              "restore it from a "
              "copy",
              SaidAt("\0"s, "zero-file"));
    EXPECT_EQ("", SaidAt("{}", "zero-bytes"));
    EXPECT_EQ("", SaidAt("", "zero-file"));
}

TEST(CheckEncoding, SaysWhatFollowsTheEnd) {
    const std::string fix = " | remove it: the file must end with its last \"}\"";
    EXPECT_EQ("2-3 a line break follows the end of the document" + fix, SaidAt("{}\n", "trailing"));
    EXPECT_EQ("2-4 a line break follows the end of the document" + fix, SaidAt("{}\t\r", "trailing"));
    EXPECT_EQ("2-4 blanks follow the end of the document" + fix, SaidAt("{}\x01 ", "trailing"));
    EXPECT_EQ("", SaidAt("{}", "trailing"));
    EXPECT_EQ(" | remove it: the file must end with its last \"]\"",
              SaidAt("[] ", "trailing").substr(SaidAt("[] ", "trailing").find(" |")));
}

// In a text with too many faults to repair, what follows its end is not removed before it is checked.
TEST(CheckEncoding, TheFirstUnitThatIsNoBlankMakesTheRestText) {
    for (const auto& [text, what] :
         {std::pair(L"{} \x20", "blanks follow"), std::pair(L"{} !", "text follows")}) {
        JsonRoot root;
        DocumentMap document;
        document.Read(root, text);
        Problems problems;
        CheckEnd(text, document, problems);
        ASSERT_EQ(1U, problems.size());
        EXPECT_EQ(what + " the end of the document"s, problems[0].text);
    }
}

} // namespace
} // namespace zq::test
