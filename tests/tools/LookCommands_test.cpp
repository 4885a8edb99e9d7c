#include "tools/FolderOptions.h"
#include "tools/RunTool.h"

#include "support/win32/Folders.h"

#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include <algorithm>

#include <windows.h>

namespace zq::test {
namespace {

// The commands that look at a data folder and leave it as it is.
class LookCommands : public testing::Test {
protected:
    LookCommands() {
        WriteBytes(m_folders.Default(kSettingsName), R"({"Level":1,"Name":"a"})");
        WriteBytes(m_folders.Default(kQualityName), R"({"Version":1})");
        WriteBytes(m_folders.Private(kSettingsName),
                   "{\"Level\":5,\n\"Level\":7,\"A.B\":true,\n\"A\":{\"B\":false}}");
        WriteBytes(m_folders.Private(kHmdListName), ReadBytes(m_folders.Default(kHmdListName)));
        WriteBytes(m_folders.Private(kQualityName), R"({"Level":9.5})");
    }

    ToolRun Run(const std::wstring& arguments) const { return RunTool(arguments + FolderOptions(m_folders)); }

    ModuleFolders m_folders;
};

TEST_F(LookCommands, ListPrintsTheVariablesOfAFolder) {
    const ToolRun run = Run(L"list --prefix L");

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_EQ("", run.errors);
    EXPECT_EQ("NAME   TYPE     VALUE\n"
              "Level  integer  7\n"
              "Level  double   9.5\n"
              "2 variables\n",
              run.output);
}

TEST_F(LookCommands, GetPrintsOneValuePlain) {
    EXPECT_EQ("7\n", Run(L"get Level").output);
    EXPECT_EQ("9.5\n", Run(L"get Level --type double").output);
    EXPECT_EQ("true\n", Run(L"get A.B").output);
    const ToolRun all = Run(L"get Level --json");
    rapidjson::Document document;
    ASSERT_FALSE(document.Parse(all.output.c_str()).HasParseError()) << all.output;
    EXPECT_EQ(2u, document.Size());
}

TEST_F(LookCommands, GetNamesTheNearestOfAnUnknownName) {
    const ToolRun run = Run(L"get Levle");

    EXPECT_EQ(1u, run.exitCode);
    EXPECT_EQ("", run.output);
    EXPECT_EQ("zqsettings: there is no variable Levle; the nearest is Level.\n", run.errors);
    EXPECT_EQ("zqsettings: there is no variable Level of type bool; it has the type integer and double.\n",
              Run(L"get Level --type bool").errors);
}

TEST_F(LookCommands, DiffPrintsWhatDiffersFromTheDefaults) {
    const ToolRun run = Run(L"diff");

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_EQ("A.B (bool): (new) -> true\n"
              "Level (integer): 1 -> 7\n"
              "Level (double): 1.0 -> 9.5\n"
              "Name (string): \"a\" -> (gone)\n"
              "Version (integer, double): 1 -> (gone)\n"
              "5 variables differ from the defaults\n",
              run.output);
}

TEST_F(LookCommands, DiffOfAFolderWithTheDefaultsIsEmpty) {
    WriteBytes(m_folders.Private(kSettingsName), ReadBytes(m_folders.Default(kSettingsName)));
    WriteBytes(m_folders.Private(kQualityName), ReadBytes(m_folders.Default(kQualityName)));

    EXPECT_EQ("0 variables differ from the defaults\n", Run(L"diff").output);
    EXPECT_EQ("[]\n", Run(L"diff --json").output);
}

TEST_F(LookCommands, LeaveAFileAsItIsThatTheModuleWouldReplace) {
    WriteBytes(m_folders.Private(kSettingsName), "{\"Level\":5}\n");
    std::filesystem::remove(m_folders.Private(kQualityName));

    const ToolRun run = Run(L"get Level");

    EXPECT_EQ("1\n", run.output);
    EXPECT_NE(std::string::npos, run.errors.find("the module refuses ")) << run.errors;
    EXPECT_NE(std::string::npos, run.errors.find("ZQ2_QualityPreset.json does not exist")) << run.errors;
    EXPECT_EQ("{\"Level\":5}\n", ReadBytes(m_folders.Private(kSettingsName)));
    EXPECT_FALSE(std::filesystem::exists(m_folders.Private(kQualityName)));
}

void ReplaceAll(std::string& text, const std::string& old, const std::string& now) {
    for (size_t place = text.find(old); place != std::string::npos; place = text.find(old)) {
        text.replace(place, old.size(), now);
    }
}

// The lines, with file names for paths.
std::string Places(const ToolRun& run, const ModuleFolders& folders) {
    std::string text = run.output;
    ReplaceAll(text, folders.DataDir().string() + '\\', "");
    ReplaceAll(text, std::filesystem::path(folders.DefaultDir()).string() + '\\', "DEFAULT ");
    return text;
}

TEST_F(LookCommands, ExplainNamesTheOriginOfEachType) {
    EXPECT_EQ("Level\n"
              "  integer 7\n"
              "    lost    ZQ2_serverSetting.setting:1:2: 5, the key comes again\n"
              "    set by  ZQ2_serverSetting.setting:2:1: 7\n"
              "    default DEFAULT ZQ2_serverSetting.setting:1:2: 1\n"
              "  double 9.5\n"
              "    lost    ZQ2_serverSetting.setting:1:2: 5, the key comes again\n"
              "    lost    ZQ2_serverSetting.setting:2:1: 7, written over\n"
              "    set by  ZQ2_QualityPreset.json:1:2: 9.5\n"
              "    default DEFAULT ZQ2_serverSetting.setting:1:2: 1\n",
              Places(Run(L"explain Level"), m_folders));
    EXPECT_EQ("A.B\n"
              "  bool true\n"
              "    lost    ZQ2_serverSetting.setting:3:6: false, written over\n"
              "    set by  ZQ2_serverSetting.setting:2:11: true\n"
              "    default none: the default files do not set it\n",
              Places(Run(L"explain A.B"), m_folders));
}

TEST_F(LookCommands, ExplainNamesWhatTheModuleSetsItself) {
    const ToolRun run = Run(L"explain DefaultDeviceName");
    EXPECT_NE(std::string::npos, run.output.find("the module's own value at its start; no file sets it\n"))
        << run.output;
}

TEST_F(LookCommands, SayThatAFileSetsAnotherTypeOfTheName) {
    WriteBytes(m_folders.Private(kSettingsName), R"({"Settings.CurrentBitrate":"90"})");

    const ToolRun explain = Run(L"explain Settings.CurrentBitrate");
    const ToolRun get = Run(L"get Settings.CurrentBitrate");

    EXPECT_NE(std::string::npos,
              Places(explain, m_folders)
                  .find("  integer 70\n    the module's own value at its start; "
                        "ZQ2_serverSetting.setting:1:2: \"90\" is a string and does not set it\n"))
        << explain.output;
    EXPECT_EQ("70\n", get.output);
    EXPECT_TRUE(get.errors.starts_with(
        "zqsettings: note: Settings.CurrentBitrate is also the string \"90\", set by "))
        << get.errors;
    EXPECT_TRUE(
        get.errors.ends_with(":1; this is the module's own value, and --type string prints the other.\n"))
        << get.errors;
    EXPECT_EQ("90\n", Run(L"get Settings.CurrentBitrate --type string").output);
}

TEST_F(LookCommands, GetPrintsALineForEachOfSeveralNames) {
    EXPECT_EQ("A.B\ttrue\nLevel\t7\n", Run(L"get Level A.B").output);
    EXPECT_EQ("Level\t7\n", Run(L"get \"Lev*\"").output);
    EXPECT_EQ("zqsettings: no variable matches X*.\n", Run(L"get Level \"X*\"").errors);
}

TEST_F(LookCommands, TakeAnyFolderWithTheFilesInIt) {
    const std::filesystem::path other = m_folders.Outside(L"copied");
    std::filesystem::copy(m_folders.DataDir(), other);

    const ToolRun run = RunTool(L"get Level --data \"" + other.wstring() + L"\" --defaults \"" +
                                m_folders.DefaultDir() + L'"');

    EXPECT_EQ("7\n", run.output);
}

TEST_F(LookCommands, UseTheFolderThatTheEnvironmentNames) {
    SetEnvironmentVariableW(L"ZQ_DATA_DIR", m_folders.CommonDataDir().c_str());
    const ToolRun run = RunProgram(L"get Level --defaults \"" + m_folders.DefaultDir() + L'"');
    SetEnvironmentVariableW(L"ZQ_DATA_DIR", nullptr);

    EXPECT_EQ("7\n", run.output);
    EXPECT_EQ("zqsettings: note: using " + m_folders.DataDir().string() + ", which ZQ_DATA_DIR names.\n",
              run.errors);
}

TEST_F(LookCommands, SayThatTheyUseTheDefaultFiles) {
    const ToolRun run = RunTool(L"get Level --defaults \"" + m_folders.DefaultDir() + L'"');

    EXPECT_EQ("1\n", run.output);
    EXPECT_EQ("zqsettings: note: using the default files, as this machine has no data folder.\n", run.errors);
}

// Each file is read once, not once for each variable.
TEST_F(LookCommands, LookAtAllVariablesInOneRun) {
    std::string settings = "{\"Level\":1";
    for (int i = 0; i < 5000; ++i) {
        settings += ",\"N" + std::to_string(i) + "\":" + std::to_string(i);
    }
    WriteBytes(m_folders.Private(kSettingsName), settings + "}");

    const ToolRun explain = Run(L"explain N*");
    const ToolRun get = Run(L"get N*");

    EXPECT_NE(std::string::npos, explain.output.find("N4999\n  integer 4999\n    set by  "))
        << explain.errors;
    EXPECT_EQ(5000, std::count(get.output.begin(), get.output.end(), '\n')) << get.errors;
}

TEST_F(LookCommands, ExplainNamesTheNearestOfAnUnknownName) {
    const ToolRun run = Run(L"explain lvel");

    EXPECT_EQ(1u, run.exitCode);
    EXPECT_EQ("zqsettings: there is no variable lvel; the nearest is Level.\n", run.errors);
}

TEST_F(LookCommands, DiffEndsWithOneWhereItIsAsked) {
    EXPECT_EQ(1u, Run(L"diff --exit-code").exitCode);
    EXPECT_EQ(0u, Run(L"diff --exit-code Nothing.Such").exitCode);
}

TEST(SurveyCommand, PrintsWhatItFindsAndTheTimeOfEachQuery) {
    const ToolRun text = RunTool(L"survey");
    EXPECT_EQ(0u, text.exitCode);
    EXPECT_TRUE(text.output.starts_with("Machine type: ")) << text.output;
    EXPECT_NE(std::string::npos, text.output.find("\n  MILLISECONDS  RESULT ")) << text.output;

    const ToolRun json = RunTool(L"survey --json");
    rapidjson::Document document;
    ASSERT_FALSE(document.Parse(json.output.c_str()).HasParseError()) << json.output;
    EXPECT_TRUE(document["queries"].IsArray());
    EXPECT_TRUE(document["machineType"].IsString());
}

} // namespace
} // namespace zq::test
