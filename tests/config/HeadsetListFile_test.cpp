#include "support/ConfigRun.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

ConfigRun LoadHeadsets(const std::string& bytes) { return RunConfig(ConfigFile::HmdList, bytes); }

ConfigRun LoadItem(const std::string& item) {
    return LoadHeadsets(R"([{"DeviceName":"A","Response":[)" + item + "]}]");
}

std::vector<LogLine> InvalidItem(const std::wstring& name) {
    return {{4, L"Invalid hmd list item : " + name}};
}

TEST(FlattenHmdList, EmptyArrayLoadsAndSetsNothing) {
    const ConfigRun run = LoadHeadsets("[]");

    EXPECT_TRUE(run.isLoaded);
    EXPECT_EQ(TypedVariables(), run.variables);
    EXPECT_TRUE(run.lines.empty());
}

TEST(FlattenHmdList, RootThatIsNoArrayIsRefused) {
    for (const char* root : {"{}", "true", "null", "\"x\""}) {
        const ConfigRun run = LoadHeadsets(root);
        EXPECT_FALSE(run.isLoaded) << root;
        EXPECT_EQ(TypedVariables(), run.variables) << root;
        EXPECT_EQ((std::vector<LogLine>{{4, L"Invalid hmd list format."}}), run.lines) << root;
    }
}

TEST(FlattenHmdList, ArrayValueGivesItsSizeAndItsElements) {
    EXPECT_EQ(TypedVariables()
                  .Int64(L"CL.MERIN5.3.1.0.ArraySize", 3)
                  .Number(L"CL.MERIN5.3.1.0.0", 20)
                  .Number(L"CL.MERIN5.3.1.0.1", 40)
                  .Number(L"CL.MERIN5.3.1.0.2", 70),
              LoadHeadsets(R"([{"DeviceName":"MERIN5","Response":[)"
                           R"({"MainRequest":3,"SubRequest":1,"index":0,"Value":[20,40,70]}]}])")
                  .variables);
}

TEST(FlattenHmdList, OddElementIsReportedWithItsOwnName) {
    const ConfigRun run = LoadItem(R"({"MainRequest":1,"SubRequest":2,"index":3,"Value":[true,"a",null]})");

    EXPECT_EQ(TypedVariables()
                  .Int64(L"CL.A.1.2.3.ArraySize", 3)
                  .Bool(L"CL.A.1.2.3.0", 1)
                  .String(L"CL.A.1.2.3.1", L"a"),
              run.variables);
    EXPECT_EQ(InvalidItem(L"CL.A.1.2.3.2"), run.lines);
}

TEST(FlattenHmdList, ElementsAfterAnInvalidOneStillLoad) {
    const ConfigRun run = LoadItem(R"({"MainRequest":1,"SubRequest":2,"index":3,"Value":[[1],{},2.5]})");

    EXPECT_EQ(TypedVariables().Int64(L"CL.A.1.2.3.ArraySize", 3).Double(L"CL.A.1.2.3.2", 2.5), run.variables);
    EXPECT_EQ((std::vector<LogLine>{{4, L"Invalid hmd list item : CL.A.1.2.3.0"},
                                    {4, L"Invalid hmd list item : CL.A.1.2.3.1"}}),
              run.lines);
}

TEST(FlattenHmdList, EmptyArrayValueHasSizeZero) {
    EXPECT_EQ(TypedVariables().Int64(L"CL.A.1.2.3.ArraySize", 0),
              LoadItem(R"({"MainRequest":1,"SubRequest":2,"index":3,"Value":[]})").variables);
}

TEST(FlattenHmdList, DoubleAsANumberOfTheItemIsReportedWithThePrefix) {
    for (const char* item :
         {R"({"MainRequest":1,"SubRequest":2,"index":3.0,"Value":1})",
          R"({"MainRequest":1.0,"SubRequest":2,"index":3,"Value":1})",
          R"({"MainRequest":1,"SubRequest":"2","index":3,"Value":1})",
          R"({"MainRequest":1,"SubRequest":null,"index":3,"Value":1})",
          R"({"SubRequest":2,"index":3,"Value":1})", R"({"MainRequest":1,"index":3,"Value":1})",
          R"({"MainRequest":1,"SubRequest":2,"Value":1})",
          R"({"MainRequest":1,"SubRequest":2,"Index":3,"Value":1})", "{}"}) {
        const ConfigRun run = LoadItem(item);
        EXPECT_TRUE(run.isLoaded) << item;
        EXPECT_EQ(TypedVariables(), run.variables) << item;
        EXPECT_EQ(InvalidItem(L"CL.A"), run.lines) << item;
    }
}

TEST(FlattenHmdList, MissingNullOrObjectValueIsReportedWithThePrefix) {
    for (const char* value : {"", R"(,"Value":null)", R"(,"Value":{})", R"(,"value":1)"}) {
        const ConfigRun run =
            LoadItem(std::string(R"({"MainRequest":1,"SubRequest":2,"index":3)") + value + "}");
        EXPECT_EQ(TypedVariables(), run.variables) << value;
        EXPECT_EQ(InvalidItem(L"CL.A"), run.lines) << value;
    }
}

TEST(FlattenHmdList, ScalarValueHasTheItemsName) {
    EXPECT_EQ(TypedVariables().String(L"CL.A.1.1.0", L"on"),
              LoadItem(R"({"MainRequest":1,"SubRequest":1,"index":0,"Value":"on"})").variables);
    EXPECT_EQ(TypedVariables().Bool(L"CL.A.-1.0.0", 1),
              LoadItem(R"({"MainRequest":-1,"SubRequest":0,"index":0,"Value":true})").variables);
    EXPECT_EQ(TypedVariables().Double(L"CL.A.1.1.0", 0.5),
              LoadItem(R"({"MainRequest":1,"SubRequest":1,"index":0,"Value":0.5})").variables);
    EXPECT_EQ(
        TypedVariables().Number(L"CL.A.9223372036854775807.-9223372036854775807.0", 7),
        LoadItem(
            R"({"MainRequest":9223372036854775808,"SubRequest":-9223372036854775808,"index":00,"Value":7})")
            .variables);
}

TEST(FlattenHmdList, OddDevicesAreSkippedWithoutAMessage) {
    const std::string good = R"([{"MainRequest":1,"SubRequest":1,"index":0,"Value":1}])";
    for (const std::string& device :
         {R"({"DeviceName":5,"Response":)" + good + "}", R"({"DeviceName":null,"Response":)" + good + "}",
          R"({"devicename":"A","Response":)" + good + "}", R"({"Response":)" + good + "}",
          std::string(R"({"DeviceName":"A"})"), std::string(R"({"DeviceName":"A","Response":{}})"),
          std::string(R"({"DeviceName":"A","Response":5})"), std::string("5"), std::string("[]"),
          std::string("null")}) {
        const ConfigRun run = LoadHeadsets("[" + device + "]");
        EXPECT_TRUE(run.isLoaded) << device;
        EXPECT_EQ(TypedVariables(), run.variables) << device;
        EXPECT_TRUE(run.lines.empty()) << device;
    }
}

TEST(FlattenHmdList, ResponseElementsThatAreNoObjectsAreSkippedWithoutAMessage) {
    const ConfigRun run = LoadItem(R"(5,null,[1],"x",{"MainRequest":1,"SubRequest":1,"index":0,"Value":1})");

    EXPECT_EQ(TypedVariables().Number(L"CL.A.1.1.0", 1), run.variables);
    EXPECT_TRUE(run.lines.empty());
}

TEST(FlattenHmdList, EmptyDeviceNameGivesAnEmptyPart) {
    EXPECT_EQ(TypedVariables().Number(L"CL..1.1.0", 1),
              LoadHeadsets(
                  R"([{"DeviceName":"","Response":[{"MainRequest":1,"SubRequest":1,"index":0,"Value":1}]}])")
                  .variables);
}

TEST(FlattenHmdList, LaterOfEqualItemsWins) {
    const std::string item = R"({"MainRequest":1,"SubRequest":1,"index":0,"Value":)";
    const std::string device = R"({"DeviceName":"A","Response":[)" + item;

    EXPECT_EQ(TypedVariables().Number(L"CL.A.1.1.0", 3),
              LoadHeadsets("[" + device + "1}," + item + "2}]}," + device + "3}]}]").variables);
}

} // namespace
} // namespace zq::test
