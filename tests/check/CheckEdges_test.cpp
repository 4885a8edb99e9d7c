// What single comparisons and constants of the checker decide, one document each.
#include "check/Fix.h"

#include "check/Checking.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zq::test {
namespace {

// The one problem with this code.
Problem Only(std::string_view bytes, std::string_view code, ConfigFile file = ConfigFile::Settings) {
    const FileCheck check(file, bytes, {});
    const Problems& all = check.All();
    const auto isIt = [&](const Problem& problem) { return problem.code == code; };
    EXPECT_EQ(1, std::count_if(all.begin(), all.end(), isIt)) << bytes;
    const auto found = std::find_if(all.begin(), all.end(), isIt);
    return found == all.end() ? Problem{} : *found;
}

TEST(CheckEdges, AQuoteBeforeABlockCommentCloses) {
    EXPECT_EQ(Lines({"1:2 error single-quotes", "1:9 error comment"}), Check("{'A':'x'/* of it's own */}"));
}

TEST(CheckEdges, ATruthValueIsAskedForWhereOnlyThatFits) {
    EXPECT_EQ("write true or false", Only(R"({"Settings":{"EnableDashboard":2}})", "wrong-type").fix);
}

TEST(CheckEdges, AControlCharacterIsOneUnitLong) {
    const Problem problem = Only("{\"A\":\"x\ty\"}", "raw-control");
    EXPECT_EQ(7, problem.begin);
    EXPECT_EQ(8, problem.end);
}

TEST(CheckEdges, AWordBeforeABraceIsAName) {
    EXPECT_EQ(Lines({"1:2 error no-quotes", "1:3 error no-colon"}), Check(R"({A{"B":1}})"));
}

TEST(CheckEdges, ACloserOfAnOuterContainerEndsTheInnerOne) {
    EXPECT_EQ(Lines({"1:6 error unclosed", "1:6 warning ignored-array"}), Check(R"({"A":[1,2})"));
    EXPECT_EQ(Lines({"1:2 error unclosed", "1:2 warning skipped-device", "1:3 warning not-read"}),
              Check(R"([{"A":1])", ConfigFile::HmdList));
}

TEST(CheckEdges, ANameAfterANameLeavesTheFirstWithoutAValue) {
    EXPECT_EQ(Lines({"1:2 error no-value", "1:6 warning skipped-null"}), Check(R"({"A":"B":1})"));
}

TEST(CheckEdges, BlanksAfterADocumentOfOneCharacterAreRemovedToo) {
    EXPECT_EQ(1U, Only("5 ", "trailing", ConfigFile::Quality).edits.size());
}

// As UTF-8, the two bytes are one character, so the escape takes the next quote as well.
TEST(CheckEdges, WhatOnlyTheByteForByteReadingRefusesIsReportedAtTheEnd) {
    EXPECT_EQ(Lines({"1:7 warning wrong-escape", "1:11 warning non-ascii", "1:17 error length"}),
              Check("{\"A\":\"\\u00\xC3\xA9\" x\"}"));
}

TEST(CheckEdges, AFixLeavesATextWithoutItsClosingQuoteThatTheModuleReads) {
    const std::optional<FixedFile> fixed = FixFile(ConfigFile::Settings, "\"x");
    ASSERT_TRUE(fixed);
    EXPECT_FALSE(fixed->isChanged);
}

TEST(CheckEdges, OnlyBlanksAreRemovedAfterTheEnd) {
    const std::optional<FixedFile> blanks = FixFile(ConfigFile::Settings, "{} \t\n");
    ASSERT_TRUE(blanks);
    EXPECT_EQ(3U, blanks->trailing);

    const std::optional<FixedFile> mark = FixFile(ConfigFile::Settings, "{}!");
    EXPECT_TRUE(!mark || mark->trailing == 0);
}

} // namespace
} // namespace zq::test
