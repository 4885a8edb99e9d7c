#include "check/Checking.h"
#include "check/FolderCheck.h"

#include <gtest/gtest.h>

#include <array>

namespace zq::test {
namespace {

TEST(FolderCheck, WarnsOfAVariableThatTwoFilesSet) {
    FileCheck settings(ConfigFile::Settings, R"({"Version":1,"CL":[{"HD":"A","Quality":{"x":5}}]})", {});
    FileCheck list(ConfigFile::HmdList, "[]", {});
    FileCheck quality(ConfigFile::Quality, R"({"Version":2,"A":[{"x":1.5}]})", {});
    const std::array<FileCheck*, 3> files = {&settings, &list, &quality};

    CheckAcrossFiles(files);

    EXPECT_EQ(Lines({"1:2 warning set-by-two-files", "1:26 warning no-such-headset",
                     "1:41 warning set-by-two-files"}),
              LinesOf(settings));
    EXPECT_EQ(Lines(), LinesOf(quality));
    EXPECT_EQ("the variable \"Version\" is written over by ZQ2_QualityPreset.json, line 1",
              settings.All().front().text);
}

TEST(FolderCheck, WarnsOfPresetsOfNoHeadset) {
    FileCheck settings(ConfigFile::Settings, R"({"CL":[{"HD":"A"}]})", {});
    FileCheck list(ConfigFile::HmdList, R"([{"DeviceName":"A","Response":[]}])", {});
    FileCheck quality(ConfigFile::Quality, R"({"A":[{"x":1}],"B":[{"x":1}]})", {});
    const std::array<FileCheck*, 3> files = {&settings, &list, &quality};

    CheckAcrossFiles(files);

    EXPECT_EQ(Lines(), LinesOf(settings));
    EXPECT_EQ(Lines({"1:16 warning no-such-headset"}), LinesOf(quality));
}

TEST(FolderCheck, AllowsOneNameWithTwoTypes) {
    FileCheck settings(ConfigFile::Settings, R"({"Version":"1"})", {});
    FileCheck quality(ConfigFile::Quality, R"({"Version":2})", {});
    const std::array<FileCheck*, 2> files = {&settings, &quality};

    CheckAcrossFiles(files);

    EXPECT_EQ(Lines(), LinesOf(settings));
}

} // namespace
} // namespace zq::test
