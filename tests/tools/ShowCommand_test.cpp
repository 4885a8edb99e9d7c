#include "tools/FolderOptions.h"
#include "tools/RunTool.h"

#include "support/win32/Folders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace zq::test {
namespace {

void ExpectOneSentence(const ToolRun& run, const std::string& part) {
    EXPECT_NE(0u, run.exitCode);
    EXPECT_TRUE(run.errors.starts_with("zqsettings: ")) << run.errors;
    EXPECT_TRUE(run.errors.ends_with(".\n")) << run.errors;
    EXPECT_EQ(1, std::count(run.errors.begin(), run.errors.end(), '\n')) << run.errors;
    EXPECT_NE(std::string::npos, run.errors.find(part)) << run.errors;
}

// After notes and messages.
void ExpectLastSentence(ToolRun run, const std::string& part) {
    const size_t begin = run.errors.rfind("\nzqsettings: ");
    run.errors.erase(0, begin == std::string::npos ? 0 : begin + 1);
    ExpectOneSentence(run, part);
}

size_t ScratchFolders() {
    const auto entries = std::filesystem::directory_iterator(std::filesystem::temp_directory_path());
    return static_cast<size_t>(std::count_if(begin(entries), end(entries), [](const auto& entry) {
        return entry.path().filename().wstring().starts_with(L"zqsettings-");
    }));
}

TEST(ShowCommand, PrintsMessagesThenTheTable) {
    const ToolRun run = RunTool(L"show");

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_EQ("zqsettings: note: using the default files, as this machine has no data folder.\n", run.errors);
    EXPECT_TRUE(run.output.starts_with("[2] ZQModSettings: DoInit begin\n"));
    const size_t last = run.output.find("[2] ZQModSettings: DoRelease end\n");
    const size_t table = run.output.find("\nNAME ");
    EXPECT_LT(last, table);
    EXPECT_LT(table, run.output.size());
}

TEST(ShowCommand, NarrowsTheTable) {
    const ToolRun run = RunTool(L"show --prefix Settings.C --type bool,Double");

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_TRUE(run.output.ends_with("\n\n"
                                     "NAME                      TYPE     VALUE\n"
                                     "Settings.CheckForUpdates  bool     true\n"
                                     "Settings.CurrentBitrate   double   70.0\n"
                                     "2 variables\n"))
        << run.output;
}

TEST(ShowCommand, RemovesItsScratchFolder) {
    const size_t before = ScratchFolders();

    RunTool(L"show");

    EXPECT_EQ(before, ScratchFolders());
}

TEST(ShowCommand, KeepsTheMessagesOutOfTheJson) {
    const ToolRun run = RunTool(L"show --json");

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_TRUE(run.output.starts_with("["));
    EXPECT_NE(std::string::npos, run.output.find("\"name\": \"Settings.CurrentBitrate\""));
    EXPECT_TRUE(run.output.ends_with("]\n"));
    EXPECT_NE(std::string::npos, run.errors.find("\n[2] ZQModSettings: DoInit begin\n")) << run.errors;
}

TEST(ShowCommand, ShowsTheRepairOfARefusedFileAndKeepsIt) {
    const ModuleFolders folders;
    WriteBytes(folders.Private(kSettingsName), "{\"A\":");

    const ToolRun run = RunTool(L"show --replace-refused --provision" + FolderOptions(folders));

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_NE(std::string::npos, run.output.find("[1] ZQModSettings: LoadSettingsFromFile() JSON paser " +
                                                 folders.Private(kSettingsName).string()))
        << run.output;
    EXPECT_NE(std::string::npos, run.output.find(" again OK , exist:0."));
    EXPECT_EQ(ReadBytes(folders.Default(kSettingsName)), ReadBytes(folders.Private(kSettingsName)));
    EXPECT_EQ(ReadBytes(folders.Default(kQualityName)), ReadBytes(folders.Private(kQualityName)));
    std::vector<std::string> kept;
    for (const auto& entry : std::filesystem::directory_iterator(folders.DataDir())) {
        if (entry.path().filename().wstring().find(L".refused-") != std::wstring::npos) {
            kept.push_back(ReadBytes(entry.path()));
        }
    }
    EXPECT_EQ(std::vector<std::string>{"{\"A\":"}, kept);
}

TEST(ShowCommand, TakesTheDataFolderItselfToo) {
    const ModuleFolders folders;

    const ToolRun run = RunTool(L"show --provision" + DefaultsOption(folders) + L" --data \"" +
                                folders.DataDir().wstring() + L'"');

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_TRUE(std::filesystem::exists(folders.Private(kQualityName)));
}

TEST(ShowCommand, ShowsTerminalEscapesOfAFileAsText) {
    const ModuleFolders folders;
    WriteBytes(folders.Private(kSettingsName), R"({"CL":[{"HD":"\u001B[31mred","Bitrate":1}]})");

    const ToolRun run = RunTool(L"show --provision" + FolderOptions(folders));

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_EQ(std::string::npos, run.output.find('\x1B'));
    EXPECT_NE(std::string::npos, run.output.find("\\u001B[31mred"));
}

TEST(ShowCommand, WritesNoPacketOverAnotherFile) {
    const ModuleFolders folders;
    const std::wstring file = folders.Default(kHmdListName).wstring();
    const std::string before = ReadBytes(file);

    const ToolRun run = RunTool(L"show --save-packet \"" + file + L'"');

    EXPECT_EQ(2u, run.exitCode);
    EXPECT_TRUE(run.errors.ends_with("exists and is no packet, so that it is not written over.\n"))
        << run.errors;
    EXPECT_EQ(before, ReadBytes(file));
}

TEST(ShowCommand, TakesNonAsciiFolders) {
    const ModuleFolders folders;
    const std::filesystem::path common = folders.Outside(L"d\u00E4t\u0101");
    std::filesystem::create_directories(common / L"ZQserver");

    const ToolRun run =
        RunTool(L"show --provision" + DefaultsOption(folders) + L" --data \"" + common.wstring() + L'"');

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_NE(std::string::npos, run.output.find("d\xC3\xA4t\xC4\x81\\ZQserver\\"));
}

TEST(ShowCommand, SaysThatTheModuleIsMissing) {
    ExpectLastSentence(RunTool(L"show --dll Z:\\nowhere\\ZQModSettings.dll"), "does not exist");
}

TEST(ShowCommand, SaysThatTheModuleIsNone) {
    const ModuleFolders folders;
    const std::wstring file = folders.Outside(L"no.dll").wstring();
    WriteBytes(file, "not a library");

    ExpectLastSentence(RunTool(L"show --dll \"" + file + L'"'), "(Windows error 193)");
    ExpectLastSentence(RunTool(L"show --dll C:\\windows\\system32\\kernel32.dll"),
                       "does not export CreateSettings");
}

TEST(ShowCommand, SaysThatAFolderIsMissing) {
    ExpectOneSentence(RunTool(L"show --data Z:\\nowhere"), "the data folder Z:\\nowhere does not exist");
    ExpectLastSentence(RunTool(L"show --defaults Z:\\nowhere"),
                       "the defaults folder Z:\\nowhere does not exist");
}

TEST(ShowCommand, TurnsAnErrorThatLeavesDoInitIntoASentence) {
    const ModuleFolders folders;
    std::filesystem::remove(folders.Default(kHmdListName));

    const ToolRun run = RunTool(L"show --json" + DefaultsOption(folders));

    ExpectLastSentence(run, "the module cannot start: " + folders.Default(kHmdListName).string() +
                                " cannot be copied to ");
    EXPECT_EQ(2u, run.exitCode);
    EXPECT_NE(std::string::npos, run.errors.find("ZQ2_HmdList.json")) << run.errors;
    EXPECT_EQ("", run.output);
}

TEST(ShowCommand, RefusesWhatItDoesNotKnow) {
    ExpectOneSentence(RunTool(L"show --type word"), "\"word\" is no type");
    ExpectOneSentence(RunTool(L"show --no-such-option"), "--no-such-option");
}

TEST(ShowCommand, HelpEndsWell) {
    for (const wchar_t* arguments : {L"--help", L"-h", L"show --help", L"help", L"help show", L"--version"}) {
        const ToolRun run = RunTool(arguments);

        EXPECT_EQ(0u, run.exitCode);
        EXPECT_NE("", run.output);
        EXPECT_EQ("", run.errors);
    }
}

} // namespace
} // namespace zq::test
