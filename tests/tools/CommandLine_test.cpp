// What a command line may look like, and how each mistake in one ends.
#include "tools/FolderOptions.h"
#include "tools/RunCommand.h"

#include "support/win32/Folders.h"
#include "support/win32/HeldFile.h"
#include "support/win32/UnixCommand.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <fcntl.h>
#include <io.h>

namespace zq::test {
namespace {

void ExpectEnd(const std::wstring& arguments, unsigned exitCode, const std::string& errors) {
    const ToolRun run = RunTool(arguments);

    EXPECT_EQ(exitCode, run.exitCode);
    EXPECT_EQ("", run.output);
    EXPECT_EQ(errors, run.errors);
}

TEST(CommandLine, NamesTheCommandThatAMistypedOneMayMean) {
    ExpectEnd(L"chek", 3, "zqsettings: there is no command \"chek\"; did you mean check?\n");
    ExpectEnd(L"xyzzy", 3, "zqsettings: there is no command \"xyzzy\"; \"zqsettings help\" lists them.\n");
    ExpectEnd(L"", 3, "zqsettings: no command was given; \"zqsettings help\" lists them.\n");
}

TEST(CommandLine, NamesTheOptionThatAMistypedOneMayMean) {
    ExpectEnd(L"list --prefx A", 3, "zqsettings: there is no option --prefx; did you mean --prefix?\n");
    ExpectEnd(L"list --xyzzy", 3, "zqsettings: there is no option --xyzzy; see \"zqsettings help list\".\n");
    ExpectEnd(L"get", 3, "zqsettings: NAME is required; see \"zqsettings help get\".\n");
}

TEST(CommandLine, SaysWhatIsWrongWithAValue) {
    ExpectEnd(L"watch --for abc", 3,
              "zqsettings: --for: \"abc\" is no number; see \"zqsettings help watch\".\n");
    ExpectEnd(L"watch --for -1", 3,
              "zqsettings: --for: -1 is not within 0 to 4000000; see \"zqsettings help watch\".\n");
    ExpectEnd(L"serve --port 65536", 3,
              "zqsettings: --port: 65536 is not within 0 to 65535; see \"zqsettings help serve\".\n");
    ExpectEnd(L"set-hmd A 1.5 1 0 1", 3,
              "zqsettings: MAIN: \"1.5\" is no whole number; see \"zqsettings help set-hmd\".\n");
    ExpectEnd(L"set-hmd A 1 1 0 99999999999999999999", 3,
              "zqsettings: VALUE: \"99999999999999999999\" is beyond what can be held; see \"zqsettings help "
              "set-hmd\".\n");
    ExpectEnd(
        L"completion zsh", 3,
        "zqsettings: SHELL: \"zsh\" is none of bash, powershell; see \"zqsettings help completion\".\n");
}

// What a shell makes of a variable that is not set.
TEST(CommandLine, RefusesEmptyValues) {
    const std::string end = ": the value is empty; see \"zqsettings help ";

    ExpectEnd(L"list --data \"\"", 3, "zqsettings: --data" + end + "list\".\n");
    ExpectEnd(L"show --defaults \"\"", 3, "zqsettings: --defaults" + end + "show\".\n");
    ExpectEnd(L"watch --dll \"\"", 3, "zqsettings: --dll" + end + "watch\".\n");
    ExpectEnd(L"restore --data \"\"", 3, "zqsettings: --data" + end + "restore\".\n");
    ExpectEnd(L"get \"\"", 3, "zqsettings: NAME" + end + "get\".\n");
    ExpectEnd(L"set \"\" 1", 3, "zqsettings: NAME" + end + "set\".\n");
    ExpectEnd(L"check \"\"", 3, "zqsettings: FILE" + end + "check\".\n");
    ExpectEnd(L"packet \"\"", 3, "zqsettings: FILE" + end + "packet\".\n");
}

TEST(CommandLine, SaysWhereAnOptionBelongs) {
    ExpectEnd(L"--json list", 3, "zqsettings: --json is an option of list: write it after the command.\n");
    ExpectEnd(L"--provision list", 3,
              "zqsettings: there is no option --provision; see \"zqsettings help\".\n");
}

TEST(CommandLine, SaysWhatStandardInputNeeds) {
    ExpectEnd(
        L"check -", 3,
        "zqsettings: standard input has no name; say which file it is with --as settings, --as hmd-list or "
        "--as quality.\n");
    ExpectEnd(L"check - --as setting", 3,
              "zqsettings: --as: \"setting\" is none of settings, hmd-list, quality; see \"zqsettings help "
              "check\".\n");
    ExpectEnd(L"check - --as settings --fix", 3,
              "zqsettings: standard input cannot be fixed; give a file.\n");
}

TEST(CommandLine, SaysThatAFileIsNoFolder) {
    const ModuleFolders folders;
    const std::filesystem::path file = folders.Default(kHmdListName);
    const std::string sentence = "zqsettings: " + file.string() + " is a file, where a folder is expected.\n";

    ExpectEnd(L"diff --data \"" + file.wstring() + L'"', 2, sentence);
    ExpectEnd(L"show --data \"" + folders.DefaultDir() + L"\" --provision --defaults \"" + file.wstring() +
                  L'"',
              2, sentence);
}

// A disk that is full; Unix has one that always is.
TEST(CommandLine, SaysThatItsOutputCannotBeWritten) {
    const int full = HasUnixCommands() ? _wopen(L"Z:\\dev\\full", _O_WRONLY | _O_BINARY) : -1;
    if (full < 0) {
        GTEST_SKIP() << "there is no such disk";
    }

    const ToolRun run = RunCommandInto(full, L"completion bash");
    _close(full);

    EXPECT_EQ(2u, run.exitCode);
    EXPECT_EQ("zqsettings: the output cannot be written: Disk full (Windows error 112).\n", run.errors);
    EXPECT_EQ(0u, RunCommand(L"completion bash").exitCode);
}

TEST(CommandLine, DoesNotWatchForAReaderThatHasGone) {
    std::array<int, 2> pipe{};
    ASSERT_EQ(0, _pipe(pipe.data(), 4096, _O_BINARY));
    _close(pipe[0]);

    const ULONGLONG start = GetTickCount64();
    const ToolRun run = RunCommandInto(pipe[1], L"watch --for 60");
    _close(pipe[1]);

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_GT(30'000u, GetTickCount64() - start);
}

TEST(CommandLine, SaysWhatIsMissingOrTooMuch) {
    ExpectEnd(L"list --data", 3, "zqsettings: --data needs a value; see \"zqsettings help list\".\n");
    ExpectEnd(L"list --data a --data b", 3,
              "zqsettings: --data was given more than once; see \"zqsettings help list\".\n");
    ExpectEnd(L"list -x", 3, "zqsettings: -x was not expected; see \"zqsettings help list\".\n");
    ExpectEnd(L"-x", 3, "zqsettings: no command was given; see \"zqsettings help\".\n");
    ExpectEnd(L"help set get", 3, "zqsettings: \"get\" was not expected: help takes one command.\n");
}

TEST(CommandLine, SaysThatAFolderHasTheNameOfAFile) {
    const ModuleFolders folders;
    std::filesystem::create_directory(folders.Private(kHmdListName));
    WriteBytes(folders.Private(kSettingsName), "{}");
    WriteBytes(folders.Private(kQualityName), "{}");
    const std::string sentence =
        "zqsettings: " + folders.Private(kHmdListName).string() + " is a folder, where a file is expected.\n";

    for (const wchar_t* command : {L"list", L"diff", L"show", L"set A 1", L"watch --for 0.1"}) {
        ExpectEnd(command + DataOption(folders), 2, sentence);
    }
    EXPECT_EQ(sentence, RunTool(L"check \"" + folders.CommonDataDir() + L'"').errors);
}

TEST(CommandLine, SaysThatAFileIsHeld) {
    const ModuleFolders folders;
    for (const wchar_t* name : {kSettingsName, kHmdListName, kQualityName}) {
        WriteBytes(folders.Private(name), ReadBytes(folders.Default(name)));
    }
    const HeldFile held(folders.Private(kSettingsName));
    const std::string sentence = "zqsettings: the file " + folders.Private(kSettingsName).string() +
                                 " cannot be read: Sharing violation (Windows error 32).\n";

    for (const wchar_t* command :
         {L"list --json", L"get DHI", L"diff", L"explain DHI", L"show", L"set DHI 1", L"watch --for 0.1"}) {
        ExpectEnd(command + DataOption(folders), 2, sentence);
    }
    const ToolRun check = RunTool(L"check \"" + folders.CommonDataDir() + L'"');
    EXPECT_EQ(2u, check.exitCode);
    EXPECT_EQ(sentence, check.errors);
    EXPECT_NE(std::string::npos, check.output.find("ZQ2_HmdList.json: accepted")) << check.output;
}

TEST(CommandLine, HelpOfACommandListsItsOptions) {
    EXPECT_EQ(RunTool(L"list --help").output, RunTool(L"help list").output);
    EXPECT_EQ(RunTool(L"--help").output, RunTool(L"help").output);
    EXPECT_NE(std::string::npos, RunTool(L"list -h").output.find("--prefix")) << RunTool(L"list -h").output;
}

TEST(CommandLine, VersionNamesAllVersions) {
    const std::string output = RunTool(L"--version").output;

    EXPECT_TRUE(output.starts_with("zqsettings " ZQ_VERSION "\nZQModSettings.dll " ZQ_VERSION " ("))
        << output;
    EXPECT_TRUE(output.ends_with("\nvariable packets 1\nJSON messages 1\n")) << output;
}

TEST(CommandLine, SaysThatAFolderIsNoDataFolder) {
    const TempFolder folder;
    const std::wstring data = folder.Path().wstring();

    for (const wchar_t* command :
         {L"list", L"diff", L"show", L"set A 1", L"watch --for 0.1", L"restore --list"}) {
        ExpectEnd(command + (L" --data \"" + data + L'"'), 2,
                  "zqsettings: the folder " + folder.Path().string() +
                      " holds neither \"ZQserver\" nor one of the three configuration files.\n");
    }
    ExpectEnd(L"set A 1", 2, "zqsettings: this machine has no data folder; name one with --data.\n");
}

TEST(CommandLine, ChecksTheOtherFilesWhereOneIsMissing) {
    const ModuleFolders folders;
    const std::wstring defaults = L" \"" + folders.DefaultDir() + L"\\";

    const ToolRun run =
        RunTool(L"check missing.json" + defaults + kHmdListName + L'"' + defaults + kQualityName + L'"');

    EXPECT_EQ(2u, run.exitCode);
    EXPECT_NE(std::string::npos, run.output.find("ZQ2_HmdList.json: accepted")) << run.output;
    EXPECT_NE(std::string::npos, run.output.find("ZQ2_QualityPreset.json: accepted")) << run.output;
    EXPECT_EQ("zqsettings: the file missing.json does not exist.\n", run.errors);
}

TEST(CommandLine, ExpandsPatternsOfFileNames) {
    const ModuleFolders folders;

    const ToolRun run = RunTool(L"check \"" + folders.DefaultDir() + L"\\*.json\"");

    EXPECT_NE(std::string::npos, run.output.find("ZQ2_HmdList.json: accepted")) << run.output << run.errors;
    EXPECT_NE(std::string::npos, run.output.find("ZQ2_QualityPreset.json: accepted")) << run.output;
    std::wstring slashes = folders.DefaultDir();
    std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
    EXPECT_EQ(run.output, RunTool(L"check \"" + slashes + L"/*.json\"").output);
    ExpectEnd(L"check \"" + folders.DefaultDir() + L"\\*.none\"", 2,
              "zqsettings: no file matches " + std::filesystem::path(folders.DefaultDir()).string() +
                  "\\*.none.\n");
}

TEST(CommandLine, CompletesEachCommandAndOption) {
    const std::string bash = RunTool(L"completion bash").output;
    const std::string powerShell = RunTool(L"completion powershell").output;
    const std::string page = RunTool(L"manual").output;

    for (const char* command : {"check", "describe", "restore", "set-hmd", "watch"}) {
        EXPECT_NE(std::string::npos, bash.find("\n    " + std::string(command) + ") options='")) << command;
        EXPECT_NE(std::string::npos, powerShell.find('\'' + std::string(command) + "' = '")) << command;
        EXPECT_NE(std::string::npos, page.find("\n.SS zqsettings " + std::string(command))) << command;
    }
    EXPECT_NE(std::string::npos, bash.find("--replace-refused"));
    EXPECT_NE(std::string::npos, page.find("\\-\\-replace\\-refused"));
}

TEST(DescribeCommand, PrintsMeaningTypeRangeAndDefault) {
    EXPECT_EQ("Settings.CurrentBitrate\n"
              "  Video bitrate.\n"
              "  type     integer\n"
              "  range    1 to 1000 Mbit/s\n"
              "  default  70\n"
              "  set by   ZQ2_serverSetting.setting\n",
              RunTool(L"describe Settings.CurrentBitrate").output);
}

TEST(DescribeCommand, EndsWithOneForANameThatNobodyKnows) {
    const ToolRun run = RunTool(L"describe Settings.CurrentBitrat");

    EXPECT_EQ(1u, run.exitCode);
    EXPECT_NE(std::string::npos, run.errors.find("the nearest is Settings.CurrentBitrate")) << run.errors;
}

} // namespace
} // namespace zq::test
