#include "support/ConfigRun.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

ConfigRun LoadPresets(std::string_view bytes) { return RunConfig(ConfigFile::Quality, bytes); }

std::vector<LogLine> InvalidPreset(const std::wstring& name) {
    return {{4, L"Invalid Quality Preset item : " + name}};
}

TEST(FlattenQuality, PresetsAreNamedByTheirPlace) {
    EXPECT_EQ(
        TypedVariables()
            .Number(L"CL.MERIN5.Quality.Bitrate", 70)
            .Bool(L"CL.MERIN5.Quality.Dashboard", 0)
            .Number(L"CL.MERIN5.Balance.Bitrate", 50)
            .Number(L"CL.MERIN5.Performance.Bitrate", 30)
            .Number(L"CL.MERIN5.Ultra.Bitrate", 100),
        LoadPresets(
            R"({"MERIN5":[{"Bitrate":70,"Dashboard":false},{"Bitrate":50},{"Bitrate":30},{"Bitrate":100}]})")
            .variables);
}

TEST(FlattenQuality, ScalarAtTheTopIsNamedByItsKey) {
    EXPECT_EQ(TypedVariables().Number(L"Version", 2), LoadPresets(R"({"Version":2})").variables);
    EXPECT_EQ(TypedVariables().String(L"S", L"x").Double(L"D", 1.5).Bool(L"B", 1),
              LoadPresets(R"({"S":"x","D":1.5,"B":true})").variables);
}

TEST(FlattenQuality, ElementThatIsNoObjectUsesUpItsPlace) {
    const ConfigRun run = LoadPresets(R"({"A":[{"x":1},5,{"x":3}]})");

    EXPECT_EQ(TypedVariables().Number(L"CL.A.Quality.x", 1).Number(L"CL.A.Performance.x", 3), run.variables);
    EXPECT_TRUE(run.lines.empty());
}

TEST(FlattenQuality, ObjectAtTheTopIsReportedWithAnEmptyName) {
    const ConfigRun run = LoadPresets(R"({"A":{"x":1}})");

    EXPECT_TRUE(run.isLoaded);
    EXPECT_EQ(TypedVariables(), run.variables);
    EXPECT_EQ(InvalidPreset(L""), run.lines);
}

TEST(FlattenQuality, ObjectInAPresetIsReportedWithThePresetsName) {
    const ConfigRun run = LoadPresets(R"({"A":[{"B":{"y":1}}]})");

    EXPECT_EQ(TypedVariables(), run.variables);
    EXPECT_EQ(InvalidPreset(L"CL.A.Quality"), run.lines);
}

TEST(FlattenQuality, NullIsReportedAndTheRestLoads) {
    const ConfigRun run = LoadPresets(R"({"A":[{"B":null,"C":1}],"Z":2})");

    EXPECT_EQ(TypedVariables().Number(L"CL.A.Quality.C", 1).Number(L"Z", 2), run.variables);
    EXPECT_EQ(InvalidPreset(L"CL.A.Quality"), run.lines);
}

TEST(FlattenQuality, InnerArrayDropsItsEnclosingName) {
    EXPECT_EQ(TypedVariables().Number(L"CL.L.Quality.z", 2),
              LoadPresets(R"({"A":[{"L":[{"z":2}]}]})").variables);
}

TEST(FlattenQuality, MembersAfterAnInnerArrayKeepTheirName) {
    EXPECT_EQ(TypedVariables()
                  .Number(L"CL.L.Quality.z", 2)
                  .Number(L"CL.A.Quality.M", 3)
                  .Number(L"CL.A.Balance.x", 4),
              LoadPresets(R"({"A":[{"L":[{"z":2}],"M":3},{"x":4}]})").variables);
}

TEST(FlattenQuality, FifthPresetAndLaterOnesWriteOverUltra) {
    EXPECT_EQ(TypedVariables().Number(L"CL.A.Ultra.x", 6).Number(L"CL.A.Ultra.y", 4),
              LoadPresets(R"({"A":[0,0,0,{"x":4,"y":4},{"x":5},{"x":6}]})").variables);
}

TEST(FlattenQuality, EmptyKeyIsSkippedWhateverItsValue) {
    const ConfigRun run = LoadPresets(R"({"":1,"A":[{"":{},"x":1}]})");

    EXPECT_EQ(TypedVariables().Number(L"CL.A.Quality.x", 1), run.variables);
    EXPECT_TRUE(run.lines.empty());
    EXPECT_TRUE(LoadPresets(R"({"":[{"x":1}]})").variables == TypedVariables());
    EXPECT_TRUE(LoadPresets(R"({"":null})").lines.empty());
}

TEST(FlattenQuality, RootOfAnotherKindLoadsAndSetsNothing) {
    for (const char* root : {"[]", "[{\"x\":1}]", "null", "true", "\"x\""}) {
        const ConfigRun run = LoadPresets(root);
        EXPECT_TRUE(run.isLoaded) << root;
        EXPECT_EQ(TypedVariables(), run.variables) << root;
        EXPECT_TRUE(run.lines.empty()) << root;
    }
}

} // namespace
} // namespace zq::test
