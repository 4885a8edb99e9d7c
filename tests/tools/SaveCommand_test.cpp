#include "tools/RunTool.h"

#include "support/win32/Folders.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

class SaveCommand : public testing::Test {
protected:
    SaveCommand() {
        WriteBytes(folders.Private(kSettingsName),
                   R"({"Level":1,"DHI":1,"CL":[{"HD":"ALPHA1","Bitrate":10},{"HD":"BETA2","Bitrate":20}]})");
        WriteBytes(folders.Private(kHmdListName), ReadBytes(folders.Default(kHmdListName)));
    }

    ToolRun Run(const std::wstring& arguments) const {
        return RunTool(arguments + L" --data \"" + folders.CommonDataDir() + L"\" --defaults \"" +
                       folders.DefaultDir() + L'"');
    }

    ModuleFolders folders;
};

TEST_F(SaveCommand, SavesAMemberOfTheRootAndPrintsOldAndNewValue) {
    const ToolRun run = Run(L"set Level 7");

    EXPECT_EQ("", run.errors);
    EXPECT_EQ("Level (integer): 1 -> 7\nLevel (double): 1.0 -> 7.0\n", run.output);
    EXPECT_NE(std::string::npos, ReadBytes(folders.Private(kSettingsName)).find("\"Level\": 7"));
}

TEST_F(SaveCommand, SavesTheMemberOfTheHeadsetInUse) {
    const ToolRun run = Run(L"set CL.BETA2.Bitrate 55 --device");

    EXPECT_EQ("", run.errors);
    EXPECT_TRUE(run.output.starts_with("CL.BETA2.Bitrate (integer): 20 -> 55\n")) << run.output;
}

TEST_F(SaveCommand, SavesTheTypeThatIsAskedFor) {
    const ToolRun run = Run(L"set Level 7 --type string");

    EXPECT_EQ("Level (string): (new) -> \"7\"\n", run.output);
}

TEST_F(SaveCommand, SavesTheValuesOfAResponse) {
    const ToolRun run = Run(L"set-hmd ALPHA1 1 2 0 11 12");

    EXPECT_EQ("", run.errors);
    EXPECT_TRUE(run.output.starts_with("CL.ALPHA1.1.2.0.0 (integer): 10 -> 11\n")) << run.output;
}

TEST_F(SaveCommand, SaysWhyNothingWasSaved) {
    EXPECT_EQ("zqsettings: nothing was saved: the file has no member Missing, or has it twice; a member that "
              "is absent "
              "is never made.\n",
              Run(L"set Missing 1").errors);
    EXPECT_EQ("zqsettings: nothing was saved: the file has no such device: NOBODY.\n",
              Run(L"set-hmd NOBODY 1 2 0 5").errors);
    EXPECT_EQ("zqsettings: nothing was saved: the device has no response with these numbers.\n",
              Run(L"set-hmd ALPHA1 9 9 9 5").errors);
    EXPECT_EQ("zqsettings: nothing was saved: the response's \"Value\" holds fewer values than were given.\n",
              Run(L"set-hmd ALPHA1 1 2 0 1 2 3 4").errors);
    EXPECT_EQ("zqsettings: \"x\" is no integer.\n", Run(L"set Level x --type integer").errors);
}

TEST_F(SaveCommand, SaysThatAFileIsNotParseable) {
    // The module reads it, the JSON library does not.
    WriteBytes(folders.Private(kSettingsName), R"({"Level":1 "DHI":1})");

    EXPECT_EQ("zqsettings: nothing was saved: the file cannot be parsed as JSON, or its root is of the wrong "
              "kind.\n",
              Run(L"set Level 7").errors);
}

} // namespace
} // namespace zq::test
