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

TEST(CheckEdges, OnlyBlanksAreRemovedAfterTheEnd) {
    const std::optional<FixedFile> blanks = FixFile(ConfigFile::Settings, "{} \t\n");
    ASSERT_TRUE(blanks);
    EXPECT_EQ(3U, blanks->trailing);

    const std::optional<FixedFile> mark = FixFile(ConfigFile::Settings, "{}!");
    EXPECT_TRUE(!mark || mark->trailing == 0);
}

} // namespace
} // namespace zq::test
