#include "tools/FolderOptions.h"
#include "tools/RunTool.h"

#include "support/win32/Folders.h"

#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include <windows.h>

namespace zq::test {
namespace {

class SaveCommand : public testing::Test {
protected:
    SaveCommand() {
        WriteBytes(folders.Private(kSettingsName),
                   R"({"Level":1,"DHI":1,"CL":[{"HD":"ALPHA1","Bitrate":10},{"HD":"BETA2","Bitrate":20}]})");
        WriteBytes(folders.Private(kHmdListName), ReadBytes(folders.Default(kHmdListName)));
        WriteBytes(folders.Private(kQualityName), ReadBytes(folders.Default(kQualityName)));
    }

    ToolRun Run(const std::wstring& arguments) const { return RunTool(arguments + FolderOptions(folders)); }

    ModuleFolders folders;
};

TEST_F(SaveCommand, SavesAMemberOfTheRootAndPrintsOldAndNewValue) {
    const ToolRun run = Run(L"set Level 7");

    EXPECT_EQ("", run.errors);
    EXPECT_EQ("Level (integer, double): 1 -> 7\n", run.output);
    EXPECT_NE(std::string::npos, ReadBytes(folders.Private(kSettingsName)).find("\"Level\": 7"));
}

TEST_F(SaveCommand, SaysThatANumberIsBeyondWhatTheFileHolds) {
    const ToolRun run = Run(L"set Level 99999999999999999999");

    EXPECT_EQ(1u, run.exitCode);
    EXPECT_EQ(
        "zqsettings: nothing was saved: \"99999999999999999999\" is beyond 64 bits, and Level is 1 (line 1); "
        "--type saves another type.\n",
        run.errors);
}

TEST_F(SaveCommand, SavesTheMemberOfTheHeadsetInUse) {
    const ToolRun run = Run(L"set CL.BETA2.Bitrate 55 --device");

    EXPECT_EQ("", run.errors);
    EXPECT_TRUE(run.output.starts_with("CL.BETA2.Bitrate (integer, double): 20 -> 55\n")) << run.output;
}

TEST_F(SaveCommand, SavesTheTypeThatIsAskedFor) {
    const ToolRun run = Run(L"set Level 7 --type string");

    EXPECT_EQ("Level (integer, double): 1 -> (gone)\nLevel (string): (new) -> \"7\"\n", run.output);
}

TEST_F(SaveCommand, SavesTheValuesOfAResponse) {
    const ToolRun run = Run(L"set-hmd ALPHA1 1 2 0 11 12");

    EXPECT_EQ("", run.errors);
    EXPECT_TRUE(run.output.starts_with("CL.ALPHA1.1.2.0.0 (integer, double): 10 -> 11\n")) << run.output;
}

// One sentence, and nothing is written.
class RefusedSave : public SaveCommand {
protected:
    void ExpectRefused(const std::wstring& arguments, const std::string& reason) {
        const std::string before = ReadBytes(folders.Private(kSettingsName));

        ToolRun run = Run(arguments);

        for (size_t at = run.errors.find(folders.DataDir().string()); at != std::string::npos;
             at = run.errors.find(folders.DataDir().string())) {
            run.errors.replace(at, folders.DataDir().string().size() + 1, "");
        }
        EXPECT_EQ(1u, run.exitCode);
        EXPECT_EQ("", run.output);
        EXPECT_EQ("zqsettings: nothing was saved: " + reason + "\n", run.errors);
        EXPECT_EQ(before, ReadBytes(folders.Private(kSettingsName)));
    }
};

TEST_F(RefusedSave, OfAMemberThatIsNotThere) {
    ExpectRefused(L"set Missing 1", "the settings file has no member Missing, and a save makes none.");
    ExpectRefused(L"set Levl 1",
                  "the settings file has no member Levl, and a save makes none; did you mean Level?");
    ExpectRefused(
        L"set CL.BETA2.Bitrat 1 --device",
        "the headset in use has no member Bitrat, and a save makes none; did you mean CL.BETA2.Bitrate?");
}

TEST_F(RefusedSave, OfAMemberThatASaveDoesNotReach) {
    WriteBytes(
        folders.Private(kSettingsName),
        "{\"Level\":1,\n\"Settings\":{\"Language\":\"en\"},\"DHI\":0,\"CL\":[{\"HD\":\"A\",\"B\":1}]}");

    ExpectRefused(
        L"set Settings.Language de",
        "Settings.Language is inside \"Settings\" (line 2); a save reaches only members of the root.");
    ExpectRefused(L"set CL.A.B 2", "CL.A.B is a headset's; add --device to save it for the headset in use.");
}

TEST_F(RefusedSave, OfAValueOfAnotherType) {
    WriteBytes(folders.Private(kSettingsName),
               "{\"Rate\":70,\n\"On\":true,\n\"Scale\":1.5,\"List\":[1],\"Name\":\"a\"}");

    ExpectRefused(L"set Rate ninety",
                  "\"ninety\" is not a whole number, and Rate is 70 (line 1); --type saves another type.");
    ExpectRefused(L"set On off",
                  "\"off\" is not true or false, and On is true (line 2); --type saves another type.");
    ExpectRefused(L"set Scale big",
                  "\"big\" is not a number, and Scale is 1.5 (line 3); --type saves another type.");
    ExpectRefused(L"set List 1",
                  "List is a list (line 3), which a value would replace whole; --type and --force do that.");
    ExpectRefused(L"set Rate x --type integer", "\"x\" is no integer.");
    ExpectRefused(L"set Name Caf\u00E9",
                  "\"Caf\xC3\xA9\" is not ASCII, and a machine with another code page refuses "
                  "the whole file then; --force saves it all the same.");
}

TEST_F(RefusedSave, OfAHeadsetThatIsNotThere) {
    ExpectRefused(L"set DHI 77",
                  "DHI is the index of an entry of \"CL\", which has 2 entries, counted from 0; "
                  "--force saves it all the same.");
    ExpectRefused(L"set CL.ALPHA1.Bitrate 5 --device",
                  "the headset in use is BETA2 (\"DHI\" is 1), and --device saves "
                  "for that one; --force saves it all the same.");
    ExpectRefused(L"set-hmd NOBODY 1 2 0 5", "ZQ2_HmdList.json has no device NOBODY.");
    ExpectRefused(L"set-hmd ALPHA2 1 2 0 5", "ZQ2_HmdList.json has no device ALPHA2; did you mean ALPHA1?");
    ExpectRefused(L"set-hmd ALPHA1 9 9 9 5", "the device ALPHA1 has no response with these numbers.");
    ExpectRefused(L"set-hmd ALPHA1 1 2 0 1 2 3 4",
                  "the response's \"Value\" has fewer values than were given.");
}

TEST_F(RefusedSave, OfAFileThatOnlyTheModuleReads) {
    WriteBytes(folders.Private(kSettingsName), R"({"Level":1 "DHI":1})");

    ExpectRefused(L"set Level 7",
                  "ZQ2_serverSetting.setting:1:12: the module reads this, but a save needs strict JSON "
                  "(Missing a comma or '}' after an object member).");
}

TEST_F(SaveCommand, KeepsTheTypeThatTheMemberHas) {
    WriteBytes(folders.Private(kSettingsName), R"({"Scale":1.5,"Name":"a"})");

    EXPECT_EQ("Scale (double): 1.5 -> 2.0\n", Run(L"set Scale 2").output);
    EXPECT_EQ("Name (string): \"a\" -> \"70\"\n", Run(L"set Name 70").output);
}

TEST_F(SaveCommand, SavesWhatSomebodyInsistsOn) {
    EXPECT_EQ("DHI (integer, double): 1 -> 77\n", Run(L"set DHI 77 --force").output.substr(0, 31));
}

TEST_F(SaveCommand, ReportsTheChangesAsJson) {
    const ToolRun run = Run(L"set Level 7 --json");
    rapidjson::Document document;

    ASSERT_FALSE(document.Parse(run.output.c_str()).HasParseError()) << run.output;
    EXPECT_STREQ("Level", document["changes"][0]["name"].GetString());
    EXPECT_EQ(7, document["changes"][0]["new"].GetInt());
}

TEST_F(SaveCommand, SaysThatAFileCannotBeWritten) {
    const HANDLE held = CreateFileW(folders.Private(kSettingsName).c_str(), GENERIC_READ, FILE_SHARE_READ,
                                    nullptr, OPEN_EXISTING, 0, nullptr);

    const ToolRun run = Run(L"set Level 7");

    CloseHandle(held);
    EXPECT_EQ(2u, run.exitCode);
    EXPECT_TRUE(run.errors.ends_with("cannot be written; it is read-only, or another program holds it.\n"))
        << run.errors;
}

} // namespace
} // namespace zq::test
