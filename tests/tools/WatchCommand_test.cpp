#include "tools/FolderOptions.h"
#include "tools/RunTool.h"
#include "tools/RunningTool.h"

#include "support/win32/Folders.h"

#include <gtest/gtest.h>

#include <regex>

namespace zq::test {
namespace {

class WatchCommand : public testing::Test {
protected:
    WatchCommand() {
        WriteBytes(m_folders.Private(kSettingsName), R"({"Level":1,"Name":"a"})");
        WriteBytes(m_folders.Private(kHmdListName), ReadBytes(m_folders.Default(kHmdListName)));
        WriteBytes(m_folders.Private(kQualityName), ReadBytes(m_folders.Default(kQualityName)));
    }

    std::wstring Arguments(const std::wstring& options) const {
        return L"watch " + options + FolderOptions(m_folders);
    }

    ModuleFolders m_folders;
};

TEST_F(WatchCommand, PrintsEachChangeOfAFileOnceWithItsTime) {
    const RunningTool watch(Arguments(L""));
    ASSERT_TRUE(watch.WaitFor("; Ctrl+C ends\n")) << watch.Output();

    WriteBytes(m_folders.Private(kSettingsName), R"({"Level":2,"Name":"a"})");

    ASSERT_TRUE(watch.WaitFor("  Level (integer, double): 1 -> 2\n")) << watch.Output();
    const std::string output = watch.Output();
    EXPECT_NE(std::string::npos, output.find("reload: 1 variable changed, ")) << output;
    const std::regex timed("([0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} [^\n]*\n)*");
    EXPECT_TRUE(std::regex_match(output, timed)) << output;
}

TEST_F(WatchCommand, PrintsOnlyChangesWhereItIsQuiet) {
    const RunningTool watch(Arguments(L"--quiet --prefix Level"));
    // Nothing is printed at the start: each attempt is an edit.
    for (int level = 2; level < 50 && watch.Output().empty(); ++level) {
        WriteBytes(m_folders.Private(kSettingsName),
                   "{\"Level\":" + std::to_string(level) + R"(,"Name":"b"})");
        watch.WaitFor("Level (integer, double)", 500);
    }

    const std::regex lines("([0-9:.]+ Level \\(integer, double\\): [0-9]+ -> [0-9]+\n)+");
    EXPECT_TRUE(std::regex_match(watch.Output(), lines)) << watch.Output();
}

TEST_F(WatchCommand, ShowsARefusedEditAsTheCheckerDoesAndLeavesIt) {
    const std::string refused = "{\"Level\":2,\n\"Name\":\"b\"}\n";
    const RunningTool watch(Arguments(L""));
    ASSERT_TRUE(watch.WaitFor("; Ctrl+C ends\n"));

    WriteBytes(m_folders.Private(kSettingsName), refused);
    ASSERT_TRUE(watch.WaitFor(": left as it is; a server replaces it by its default file\n"))
        << watch.Output();
    const std::string file = m_folders.Private(kSettingsName).string();
    EXPECT_NE(std::string::npos, watch.Output().find(file + ":2:12: error: ")) << watch.Output();
    EXPECT_EQ(refused, ReadBytes(m_folders.Private(kSettingsName)));

    WriteBytes(m_folders.Private(kSettingsName), R"({"Level":3,"Name":"a"})");
    EXPECT_TRUE(watch.WaitFor(file + ": accepted again\n")) << watch.Output();
    EXPECT_TRUE(watch.WaitFor("  Level (integer, double): 1 -> 3\n")) << watch.Output();
}

TEST_F(WatchCommand, KeepsARefusedEditThatItReplaces) {
    const RunningTool watch(Arguments(L"--replace-refused"));
    ASSERT_TRUE(watch.WaitFor("; Ctrl+C ends\n"));

    WriteBytes(m_folders.Private(kSettingsName), "{\"Level\":2");

    ASSERT_TRUE(watch.WaitFor(": replaced by the default file; the refused file is kept as "))
        << watch.Output();
    EXPECT_TRUE(watch.WaitFor("reload: ")) << watch.Output();
    EXPECT_EQ(ReadBytes(m_folders.Default(kSettingsName)), ReadBytes(m_folders.Private(kSettingsName)));
}

TEST_F(WatchCommand, PrintsTheMessagesOfTheLiveProtocol) {
    const RunningTool watch(Arguments(L"--json Level"));
    ASSERT_TRUE(watch.WaitFor("\"kind\":\"state\"")) << watch.Output();
    EXPECT_TRUE(watch.WaitFor(R"("variables":[{"name":"Level","types":["integer","double"],"value":1}])"))
        << watch.Output();

    WriteBytes(m_folders.Private(kSettingsName), R"({"Level":2})");
    EXPECT_TRUE(watch.WaitFor(R"("changes":[{"name":"Level","types":["integer","double"],"old":1,"new":2}])"))
        << watch.Output();
    EXPECT_TRUE(watch.WaitFor("\"kind\":\"reload\""));

    WriteBytes(m_folders.Private(kSettingsName), "{\"Level\":2}\n");
    EXPECT_TRUE(watch.WaitFor(R"("outcome":"kept","line":1,"column":12,"reason":)")) << watch.Output();

    std::filesystem::remove(m_folders.Private(kSettingsName));
    EXPECT_TRUE(watch.WaitFor(R"("outcome":"missing","reason":"the file does not exist"})"))
        << watch.Output();

    WriteBytes(m_folders.Private(kSettingsName), R"({"Level":2})");
    EXPECT_TRUE(watch.WaitFor("\"kind\":\"accept\"")) << watch.Output();
}

TEST_F(WatchCommand, EndsWellWhenItIsInterrupted) {
    LARGE_INTEGER count{};
    QueryPerformanceCounter(&count);
    const std::string mark = "Mark" + std::to_string(count.QuadPart);
    const std::wstring arguments = Arguments(L"Level " + std::wstring(mark.begin(), mark.end()));
    const RunningTool watch(arguments);
    const RunningTool json(arguments + L" --json");
    ASSERT_TRUE(watch.WaitFor("; Ctrl+C ends\n")) << watch.Output();
    ASSERT_TRUE(json.WaitFor("\"kind\":\"state\"")) << json.Output();

    watch.Interrupt(mark); // and the other

    EXPECT_EQ(0u, watch.ExitCode());
    EXPECT_EQ(0u, json.ExitCode());
    EXPECT_TRUE(watch.Output().ends_with(" ended (Ctrl+C): 0 reloads, 0 changes, 0 notices\n"))
        << watch.Output();
    const char* const end = R"("kind":"end","time":")";
    EXPECT_NE(std::string::npos, json.Output().find(end)) << json.Output();
    EXPECT_TRUE(json.Output().ends_with("\"reason\":\"Ctrl+C\",\"reloads\":0,\"changes\":0,\"notices\":0}\n"))
        << json.Output();
}

TEST_F(WatchCommand, EndsAfterItsTimeWithASummary) {
    const ToolRun run = RunTool(Arguments(L"--for 0.1"));

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_TRUE(run.output.ends_with(" ended (time): 0 reloads, 0 changes, 0 notices\n")) << run.output;
}

} // namespace
} // namespace zq::test
