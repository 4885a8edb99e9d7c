#include "config/ConfigText.h"

#include "base/Text.h"
#include "support/ConfigRun.h"

#include <gtest/gtest.h>

#include <string>

namespace zq::test {
namespace {

struct DecodedRow {
    std::string bytes;
    bool isLoaded;
    int32_t parseResult;
};

void Expect(const DecodedRow& row) {
    SCOPED_TRACE(Printable(std::wstring(row.bytes.begin(), row.bytes.end())));
    const ConfigRun run = RunConfig(ConfigFile::Settings, row.bytes);
    EXPECT_EQ(row.isLoaded, run.isLoaded);
    EXPECT_EQ(row.parseResult, run.parseResult);
    EXPECT_EQ(static_cast<int32_t>(row.bytes.size()), run.fileLength);
    if (!row.isLoaded) {
        EXPECT_EQ(TypedVariables(), run.variables);
    }
}

TEST(ConfigText, FileThatIsTakenWholeLoads) {
    Expect({R"({"A":1})", true, 7});
    EXPECT_EQ(TypedVariables().Number(L"A", 1).Int64(L"HmdNameSize", 0),
              RunConfig(ConfigFile::Settings, R"({"A":1})").variables);
}

TEST(ConfigText, LineBreakAfterTheEndRefusesTheFile) {
    Expect({"{\"A\":1}\r\n", false, 7});
    Expect({"{\"A\":1}\n", false, 7});
    Expect({"{\"A\":1} ", false, 7});
    Expect({"{\"A\":1}}", false, 7});
    Expect({std::string("{\"A\":1}\0", 8), false, 7});
}

TEST(ConfigText, ByteOrderMarkRefusesTheFile) {
    Expect({"\xEF\xBB\xBF{\"A\":1}", false, 7});
    Expect({"\xEF\xBB\xBF", false, -1});
    Expect({"\xEF\xBB\xBF   {}", false, 5});
}

TEST(ConfigText, WithoutAMarkTheAnsiCodePageDecides) {
    const std::string bytes = "{\"A\":\"\xE9\"}";
    const std::wstring text = WideFromBytes(kCodePageAnsi, "\xE9", 1);

    EXPECT_EQ(TypedVariables().String(L"A", text).Int64(L"HmdNameSize", 0),
              RunConfig(ConfigFile::Settings, bytes).variables);
}

TEST(ConfigText, SpaceInFrontIsCountedAndAllowed) {
    Expect({"  {}", true, 4});
    EXPECT_EQ(TypedVariables().Int64(L"HmdNameSize", 0), RunConfig(ConfigFile::Settings, "  {}").variables);
}

TEST(ConfigText, EmptyFileIsRefused) { Expect({"", false, -1}); }

TEST(ConfigText, TruncatedFileIsRefused) {
    const std::string whole = R"({"A":1,"B":{"C":[1,2,{"D":"x"}]}})";
    for (size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(RunConfig(ConfigFile::Settings, whole.substr(0, length)).isLoaded) << length;
    }
}

TEST(ConfigText, FailedParseIsRefusedEvenWhereNothingElseIsWrong) {
    Expect({"{\"A\":}", false, -5});
    Expect({"[x]", false, -1});
    Expect({"5", false, -1});
}

TEST(ConfigText, ReadingAgainReplacesTheTree) {
    ConfigText config(ConfigFile::Settings);
    EXPECT_TRUE(config.Read("[1,2,3]"));
    EXPECT_FALSE(config.Read("[1"));
    EXPECT_TRUE(config.Root().Is(JsonKind::Null));
    EXPECT_TRUE(config.Read("{}"));
    EXPECT_TRUE(config.Root().Is(JsonKind::Object));
}

// What is not read (a header without a name, a second list, null) stays until the reading is over.
TEST(ConfigText, FlatteningFreesTheTreeAndGivesTheSameVariables) {
    const std::string bytes =
        R"({"A":{"B":{"C":1}},"CL":[{"HD":"X","D":{"E":2}},{"HD":"","F":3},{"G":4},{"HD":"Y","CL":[{"HD":"Z"}]}],)"
        R"("cl":[],"Cl":[{"HD":"V","W":[1,2]}],"H":null,"I":{},"J":5})";
    ConfigText kept(ConfigFile::Settings);
    ConfigText freed(ConfigFile::Settings);
    ASSERT_TRUE(kept.ReadTree(bytes));
    ASSERT_TRUE(freed.ReadTree(bytes));
    VariableBatch wanted;
    VariableMaps wantedMaps;
    VariableMaps maps;

    FlattenConfig(ConfigFile::Settings, kept.Root(), wanted, HostLog());
    ASSERT_TRUE(freed.Flatten(HostLog()));
    wantedMaps.Apply(wanted);
    maps.Apply(freed.Batch());

    EXPECT_TRUE(kept.Root().Is(JsonKind::Object));
    EXPECT_TRUE(freed.Root().Is(JsonKind::Null));
    EXPECT_EQ(VariablesOf(wantedMaps), VariablesOf(maps));
    EXPECT_EQ(13U, wanted.Entries().size());
}

TEST(ConfigText, OnlyTheHeadsetListAsksForARootOfOneKind) {
    for (const ConfigFile file : kConfigFiles) {
        ConfigText config(file);
        ASSERT_TRUE(config.Read("{}"));
        EXPECT_EQ(file != ConfigFile::HmdList, config.IsRootAccepted());
        ASSERT_TRUE(config.Read("[]"));
        EXPECT_TRUE(config.IsRootAccepted());
    }
}

} // namespace
} // namespace zq::test
