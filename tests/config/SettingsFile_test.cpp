#include "support/ConfigRun.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

ConfigRun LoadSettings(std::string_view bytes) { return RunConfig(ConfigFile::Settings, bytes); }

TypedVariables WithoutHeaders() { return TypedVariables().Int64(L"HmdNameSize", 0); }

LogLine HeaderLine(int index, const std::wstring& name) {
    return {2, L"Set variable STRING HmdNameList." + std::to_wstring(index) + L" = " + name};
}

TEST(FlattenSettings, NestedObjectGivesADottedName) {
    EXPECT_EQ(WithoutHeaders().Bool(L"A.B", 1), LoadSettings(R"({"A":{"B":true}})").variables);
    EXPECT_EQ(WithoutHeaders().Number(L"A.B.C", 1).Number(L"A.D", 2),
              LoadSettings(R"({"A":{"B":{"C":1},"D":2}})").variables);
}

TEST(FlattenSettings, EmptyKeyAndNullGiveNothing) {
    EXPECT_EQ(WithoutHeaders(), LoadSettings(R"({"":1})").variables);
    EXPECT_EQ(WithoutHeaders(), LoadSettings(R"({"":{"A":1}})").variables);
    EXPECT_EQ(WithoutHeaders(), LoadSettings(R"({"A":null})").variables);
    EXPECT_EQ(WithoutHeaders().Number(L"A.C", 2), LoadSettings(R"({"A":{"":1,"C":2}})").variables);
}

TEST(FlattenSettings, EachKindGoesToItsMap) {
    const ConfigRun run = LoadSettings(R"({"B":false,"D":5.0,"I":5,"S":"five"})");

    EXPECT_EQ(WithoutHeaders().Bool(L"B", 0).Double(L"D", 5.0).Number(L"I", 5).String(L"S", L"five"),
              run.variables);
    EXPECT_TRUE(run.lines.empty());
}

TEST(FlattenSettings, OneNameMayBeOfSeveralTypes) {
    EXPECT_EQ(WithoutHeaders().Number(L"A.B", 1).Bool(L"A.B", 1),
              LoadSettings(R"({"A":{"B":1},"A.B":true})").variables);
}

TEST(FlattenSettings, HeaderListNamesGroupsAndSkipsOddElements) {
    const ConfigRun run = LoadSettings(R"({"CL":[{"HD":"X"},{"HD":""},{"HD":5},{"Y":1}]})");

    EXPECT_EQ(TypedVariables()
                  .Int64(L"HmdNameSize", 2)
                  .String(L"HmdNameList.0", L"X")
                  .String(L"HmdNameList.1", L"")
                  .String(L"CL.X.HD", L"X"),
              run.variables);
    EXPECT_EQ((std::vector<LogLine>{HeaderLine(0, L"X"), HeaderLine(1, L"")}), run.lines);
}

// A short list and a long one are collected in different ways.
TEST(FlattenSettings, HeaderListsOfEveryLengthAreNumbered) {
    for (int length = 1; length < 20; ++length) {
        std::string elements;
        TypedVariables wanted;
        for (int i = 0; i < length; ++i) {
            const std::wstring name = L"N" + std::to_wstring(i);
            elements += std::string(i == 0 ? "" : ",") + R"({"HD":"N)" + std::to_string(i) + R"("})";
            wanted.String(L"HmdNameList." + std::to_wstring(i), name).String(L"CL." + name + L".HD", name);
        }
        wanted.Int64(L"HmdNameSize", length);
        EXPECT_EQ(wanted, LoadSettings(R"({"CL":[)" + elements + "]}").variables) << length;
    }
}

TEST(FlattenSettings, HeaderElementsBecomeVariablesOfTheirName) {
    EXPECT_EQ(TypedVariables()
                  .Int64(L"HmdNameSize", 1)
                  .String(L"HmdNameList.0", L"MERIN5")
                  .String(L"CL.MERIN5.HD", L"MERIN5")
                  .Number(L"CL.MERIN5.Bitrate", 40)
                  .Bool(L"CL.MERIN5.A.B", 1),
              LoadSettings(R"({"CL":[{"HD":"MERIN5","Bitrate":40,"A":{"B":true}}]})").variables);
}

TEST(FlattenSettings, HeaderListKeyIsTakenInAnyLetterCase) {
    for (const std::wstring key : {L"CL", L"cl", L"Cl", L"cL"}) {
        const std::string narrow(key.begin(), key.end());
        EXPECT_EQ(TypedVariables()
                      .Int64(L"HmdNameSize", 1)
                      .String(L"HmdNameList.0", L"X")
                      .String(key + L".X.HD", L"X"),
                  LoadSettings("{\"" + narrow + R"(":[{"HD":"X"}]})").variables);
    }
}

TEST(FlattenSettings, HeaderNameIsLookedUpInItsLetterCase) {
    EXPECT_EQ(WithoutHeaders(),
              LoadSettings(R"({"CL":[{"hd":"X"},{"Hd":"Y"},5,"HD",null,[{"HD":"Z"}]]})").variables);
}

TEST(FlattenSettings, OtherArraysAreIgnored) {
    const ConfigRun run = LoadSettings(R"({"Other":[1,2],"CLX":[{"HD":"X"}],"C":[{"HD":"X"}]})");

    EXPECT_EQ(WithoutHeaders(), run.variables);
    EXPECT_TRUE(run.lines.empty());
}

TEST(FlattenSettings, HeaderListKeyWithAnotherKindIsAnOrdinaryMember) {
    EXPECT_EQ(WithoutHeaders().Number(L"CL.HD", 1), LoadSettings(R"({"CL":{"HD":1}})").variables);
    EXPECT_EQ(WithoutHeaders().String(L"CL", L"x"), LoadSettings(R"({"CL":"x"})").variables);
}

TEST(FlattenSettings, NestedHeaderListIsFlattenedButNotCounted) {
    const ConfigRun run = LoadSettings(R"({"A":{"CL":[{"HD":"X","B":1}]}})");

    EXPECT_EQ(TypedVariables()
                  .Int64(L"HmdNameSize", 0)
                  .String(L"HmdNameList.0", L"X")
                  .String(L"A.CL.X.HD", L"X")
                  .Number(L"A.CL.X.B", 1),
              run.variables);
    EXPECT_EQ((std::vector<LogLine>{HeaderLine(0, L"X")}), run.lines);
}

TEST(FlattenSettings, InnerLevelsPublishBeforeOuterOnes) {
    const ConfigRun run = LoadSettings(R"({"CL":[{"HD":"OUT","CL":[{"HD":"IN1"},{"HD":"IN2"}]}]})");

    EXPECT_EQ(TypedVariables()
                  .Int64(L"HmdNameSize", 1)
                  .String(L"HmdNameList.0", L"OUT")
                  .String(L"HmdNameList.1", L"IN2")
                  .String(L"CL.OUT.HD", L"OUT")
                  .String(L"CL.OUT.CL.IN1.HD", L"IN1")
                  .String(L"CL.OUT.CL.IN2.HD", L"IN2"),
              run.variables);
    EXPECT_EQ((std::vector<LogLine>{HeaderLine(0, L"IN1"), HeaderLine(1, L"IN2"), HeaderLine(0, L"OUT")}),
              run.lines);
}

TEST(FlattenSettings, SeveralHeaderListsOfOneLevelCountTogether) {
    const ConfigRun run = LoadSettings(R"({"cl":[{"HD":"B"}],"CL":[{"HD":"A"}]})");

    EXPECT_EQ((std::vector<LogLine>{HeaderLine(0, L"A"), HeaderLine(1, L"B")}), run.lines);
}

TEST(FlattenSettings, HeaderCountOverridesAMemberOfThatName) {
    EXPECT_EQ(TypedVariables().Int64(L"HmdNameSize", 0).Double(L"HmdNameSize", 7),
              LoadSettings(R"({"HmdNameSize":7})").variables);
}

TEST(FlattenSettings, NamesThatMeetKeepTheLaterInKeyOrder) {
    EXPECT_EQ(WithoutHeaders().Number(L"A.B", 2), LoadSettings(R"({"A.B":2,"A":{"B":1}})").variables);
    EXPECT_EQ(WithoutHeaders().Number(L"A.B.C", 2),
              LoadSettings(R"({"A.B":{"C":2},"A":{"B.C":1}})").variables);
}

TEST(FlattenSettings, RootOfAnotherKindLoadsAndSetsNothing) {
    for (const char* root : {"[1]", "[]", "true", "null", "\"x\"", "[{\"A\":1}]"}) {
        const ConfigRun run = LoadSettings(root);
        EXPECT_TRUE(run.isLoaded) << root;
        EXPECT_EQ(TypedVariables(), run.variables) << root;
        EXPECT_TRUE(run.lines.empty()) << root;
    }
}

TEST(FlattenSettings, LoadingAgainWithoutAKeyLeavesItsVariable) {
    VariableMaps maps;
    RunConfig(ConfigFile::Settings, R"({"A":1,"B":2,"CL":[{"HD":"X"},{"HD":"Y"}]})", maps);

    const ConfigRun run = RunConfig(ConfigFile::Settings, R"({"B":3,"CL":[{"HD":"Z"}]})", maps);

    EXPECT_EQ(TypedVariables()
                  .Number(L"A", 1)
                  .Number(L"B", 3)
                  .Int64(L"HmdNameSize", 1)
                  .String(L"HmdNameList.0", L"Z")
                  .String(L"HmdNameList.1", L"Y")
                  .String(L"CL.X.HD", L"X")
                  .String(L"CL.Y.HD", L"Y")
                  .String(L"CL.Z.HD", L"Z"),
              run.variables);
}

TEST(FlattenSettings, KeysAreTakenAsTheyAre) {
    EXPECT_EQ(WithoutHeaders().Number(L" a ", 1).Number(L"a", 2).Number(L"A", 3).Number(L"\xE9", 4),
              LoadSettings(R"({" a ":1,"a":2,"A":3,"\u00e9":4})").variables);
}

} // namespace
} // namespace zq::test
