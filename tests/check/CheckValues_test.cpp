// What the check says of values: their type, their range and the members that they refer to.
#include "check/Checking.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace zq::test {
namespace {

TEST(CheckValues, SaysWhichTypeTheDefaultFileHas) {
    const std::vector<std::array<std::string, 3>> types = {{"true", "a bool", "true"},
                                                           {"5", "a whole number", "5"},
                                                           {"0.5", "a number with a point", "0.5"},
                                                           {"\"x\"", "a text", "\"x\""}};
    for (const auto& [wantedValue, wanted, wantedShown] : types) {
        const DefaultFile defaults(ConfigFile::Settings, R"({"Mine":{"A":)" + wantedValue + "}}");
        for (const auto& [value, kind, shown] : types) {
            const bool fits = kind == wanted || (value == "5" && wantedValue == "0.5");
            const std::string said =
                Said(R"({"Mine":{"A":)" + value + "}}", "wrong-type", ConfigFile::Settings, defaults);
            EXPECT_EQ(fits ? ""
                           : value + " | Mine.A: " + shown + " is " + kind + ", but the default file has " +
                                 wanted + " | write " + wanted,
                      said);
        }
    }
}

TEST(CheckValues, TheHeadsetInUseIsOneOfTheList) {
    EXPECT_EQ("0 | DHI: 0 selects no headset: the list CL has 0 | add the headset to CL",
              Said(R"({"DHI":0,"CL":[]})", "no-such-headset"));
    EXPECT_EQ("1 | DHI: 1 selects no headset: the list CL has 1 | write 0",
              Said(R"({"DHI":1,"CL":[{"HD":"X"}]})", "no-such-headset"));
    EXPECT_EQ("2 | DHI: 2 selects no headset: the list CL has 2 | write 0 to 1",
              Said(R"({"DHI":2,"CL":[{"HD":"X"},{"HD":"Y"}]})", "no-such-headset"));
    EXPECT_EQ("", Said(R"({"DHI":1,"CL":[{"HD":"X"},{"HD":"Y"}]})", "no-such-headset"));
    EXPECT_EQ("", Said(R"({"DHI":-1,"CL":[{"HD":"X"}]})", "no-such-headset"));
    EXPECT_EQ("", Said(R"({"DHI":5.5,"CL":[{"HD":"X"}]})", "no-such-headset"));
    EXPECT_EQ("", Said(R"({"Other":5,"CL":[{"HD":"X"}]})", "no-such-headset"));
}

TEST(CheckValues, ABitrateIsNotAboveItsMaximum) {
    const auto bitrate = [](const std::string& value, const std::string& maximum) {
        return Said(R"({"CL":[{"HD":"X","Bitrate":)" + value + R"(,"MaxBitrate":)" + maximum + "}]}",
                    "out-of-range");
    };
    EXPECT_EQ("81 | CL.X.Bitrate: 81 is above MaxBitrate, 80 | write a lower bitrate or a higher MaxBitrate",
              bitrate("81", "80"));
    EXPECT_EQ("", bitrate("80", "80"));
    EXPECT_EQ("", bitrate("81.5", "80"));
    EXPECT_EQ("", bitrate("81", "80.5"));
    EXPECT_EQ("", Said(R"({"CL":[{"HD":"X","MaxBitrate":80},{"HD":"Y","Bitrate":90}]})", "out-of-range"));
}

} // namespace
} // namespace zq::test
