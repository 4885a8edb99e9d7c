// What the check says of members: their names, how often they are there and what they hold.
#include "check/Checking.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace zq::test {
namespace {

TEST(CheckStructure, SaysWhatIsExpectedInPlaceOfAValueOfAnotherKind) {
    const char* const brackets = R"(put its values into "[" and "]")";
    for (const auto& [file, document, said, fix] :
         std::vector<std::tuple<ConfigFile, const char*, const char*, const char*>>{
             {ConfigFile::Settings, R"({"Network":5})",
              R"(5 | "Network" is a whole number, but an object is expected)", ""},
             {ConfigFile::Settings, R"({"Video":[]})",
              R"([ | "Video" is an array, but an object is expected)", ""},
             {ConfigFile::Settings, R"({"Video":true})",
              R"(true | "Video" is a bool, but an object is expected)", ""},
             {ConfigFile::Settings, R"({"DHI":{}})", R"({ | "DHI" is an object, but an integer is expected)",
              ""},
             {ConfigFile::Settings, R"({"CL":{"HD":"X"}})",
              R"({ | "CL" is an object, but an array is expected)", brackets},
             {ConfigFile::Settings, R"({"CL":5})", R"(5 | "CL" is a whole number, but an array is expected)",
              brackets},
             {ConfigFile::Settings, R"({"CL":[{"HD":{}}]})",
              R"({ | "HD" is an object, but a text is expected)", ""},
             {ConfigFile::HmdList, R"([{"DeviceName":{}}])",
              R"({ | "DeviceName" is an object, but a text is expected)", ""},
             {ConfigFile::HmdList, R"([{"Response":{}}])",
              R"({ | "Response" is an object, but an array is expected)", brackets},
             {ConfigFile::Quality, R"({"A":[{"Bitrate":{}}]})",
              R"({ | "Bitrate" is an object, but an integer is expected)", ""}}) {
        EXPECT_EQ(std::string(said) + " | " + fix, Said(document, "wrong-type", file)) << document;
    }
    // Other checks say what becomes of these.
    for (const char* const document :
         {R"({"CL":null})", R"({"Video":null})", R"({"DHI":[]})", R"({"CL":[{"HD":[]}]})"}) {
        EXPECT_EQ("", Said(document, "wrong-type")) << document;
    }
}

TEST(CheckStructure, NamesTheLineOfTheMemberThatCounts) {
    EXPECT_EQ("\"a\" | \"a\" is there again in line 2, and only the last one counts | remove one of them",
              Said("{\"a\":1,\n\"a\":2}", "duplicate-key"));
}

TEST(CheckStructure, AsksForTheNameThatIsMeant) {
    DefaultFile known;
    known.keys = {L"Bitrate"};
    EXPECT_EQ("\"Bitrat\" | \"Bitrat\" is not a known name | did you mean \"Bitrate\"?",
              Said(R"({"Bitrat":1})", "misspelt", ConfigFile::Settings, known));
    // Not where the right one is there too.
    EXPECT_EQ("", Said(R"({"Bitrat":1,"Bitrate":2})", "misspelt", ConfigFile::Settings, known));
}

TEST(CheckStructure, SaysWhereAMemberThatIsDroppedBelongs) {
    EXPECT_EQ(
        "\"$schema\" | \"$schema\" does not belong here | it would become a variable; name the schema in the "
        "editor's settings instead",
        Said(R"({"$schema":"x"})", "not-read"));
    EXPECT_EQ("\"CurrentBitrate\" | \"CurrentBitrate\" does not belong here | the server can save only the "
              "root member "
              "Settings.CurrentBitrate; write it there",
              Said(R"({"Settings":{"CurrentBitrate":70}})", "not-read"));
    EXPECT_EQ("\"HmdNameSize\" | \"HmdNameSize\" does not belong here | the module sets this variable itself",
              Said(R"({"HmdNameSize":7})", "not-read"));
    EXPECT_EQ("\"Note\" | \"Note\" does not belong here | remove it, or correct its name",
              Said(R"([{"DeviceName":"A","Response":[],"Note":1}])", "not-read", ConfigFile::HmdList));
}

TEST(CheckStructure, AHeadsetHasANameOfACharacterAtLeast) {
    EXPECT_EQ("\"\" | \"HD\" is empty: the server finds nothing of this headset | write the headset's name",
              Said(R"({"CL":[{"HD":"","A":1}]})", "empty-name"));
    EXPECT_EQ("", Said(R"({"CL":[{"HD":"X","A":1}]})", "empty-name"));
    EXPECT_EQ("", Said(R"({"A":""})", "empty-name"));
}

} // namespace
} // namespace zq::test
