#include "tools/FolderOptions.h"
#include "tools/RunTool.h"

#include "support/win32/Folders.h"
#include "support/win32/HeldFile.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

constexpr const wchar_t* kOld = L"ZQ2_serverSetting.setting.20260102T030405.678Z";
constexpr const wchar_t* kNew = L"ZQ2_serverSetting.setting.20260203T040506.789Z";

class RestoreCommand : public testing::Test {
protected:
    RestoreCommand() {
        std::filesystem::create_directory(m_folders.DataDir() / L"kept");
        std::filesystem::create_directory(m_folders.DataDir() / L"rejected");
        WriteBytes(m_folders.Private(kSettingsName), R"({"Level":3})");
        WriteBytes(Kept(kOld), R"({"Level":1})");
        WriteBytes(m_folders.DataDir() / L"rejected" / kNew, "{\"Level\":2}\n");
        WriteBytes(Kept(L"ZQ2_serverSetting.setting.old"), "{}");
        WriteBytes(Kept(L"notes.20260102T030405.678Z"), "{}");
    }

    std::filesystem::path Kept(const wchar_t* name) const { return m_folders.DataDir() / L"kept" / name; }

    ToolRun Run(const std::wstring& arguments) const {
        return RunTool(L"restore " + arguments + DataOption(m_folders));
    }

    ModuleFolders m_folders;
};

TEST_F(RestoreCommand, ListsTheCopiesOfTheModulesOwnForm) {
    EXPECT_EQ("rejected  refused   ZQ2_serverSetting.setting.20260203T040506.789Z\n"
              "kept      accepted  ZQ2_serverSetting.setting.20260102T030405.678Z\n"
              "2 copies\n",
              Run(L"--list").output);
    EXPECT_EQ("0 copies\n", Run(L"--list ZQ2_HmdList.json").output);
    const ToolRun misspelt = Run(L"--list HmdList.json");
    EXPECT_EQ(3u, misspelt.exitCode);
    EXPECT_EQ("zqsettings: \"HmdList.json\" is the name of none of the three files.\n", misspelt.errors);
}

TEST_F(RestoreCommand, PutsACopyBackAndKeepsWhatItReplaces) {
    const ToolRun run = Run(kOld);

    EXPECT_EQ(0u, run.exitCode) << run.errors;
    EXPECT_EQ(R"({"Level":1})", ReadBytes(m_folders.Private(kSettingsName)));
    EXPECT_EQ(R"({"Level":1})", ReadBytes(Kept(kOld)));
    const size_t begin = run.output.find("is kept as ");
    ASSERT_NE(std::string::npos, begin) << run.output;
    const std::string keptAs = run.output.substr(begin + 11, run.output.size() - begin - 12);
    EXPECT_EQ(R"({"Level":3})", ReadBytes(keptAs));
}

TEST_F(RestoreCommand, RefusesACopyThatTheModuleWouldRefuse) {
    const ToolRun run = Run(kNew);

    EXPECT_EQ(1u, run.exitCode);
    EXPECT_NE(std::string::npos, run.errors.find(":1:12: error: ")) << run.errors;
    EXPECT_NE(std::string::npos, run.errors.find("nothing was changed: the module would refuse "))
        << run.errors;
    EXPECT_EQ(R"({"Level":3})", ReadBytes(m_folders.Private(kSettingsName)));
}

TEST_F(RestoreCommand, SaysThatThereIsNoSuchCopy) {
    const ToolRun run = Run(L"..\\ZQ2_serverSetting.setting");

    EXPECT_EQ(1u, run.exitCode);
    EXPECT_TRUE(run.errors.starts_with("zqsettings: there is no copy ..\\ZQ2_serverSetting.setting in "))
        << run.errors;
    EXPECT_EQ(3u, Run(L"").exitCode);
}

TEST_F(RestoreCommand, FailsWithJsonAsItFailsWithout) {
    for (const std::wstring& arguments : {std::wstring(kNew), std::wstring(L"nothing"), std::wstring()}) {
        const ToolRun plain = Run(arguments);
        const ToolRun json = Run(arguments + L" --json");

        EXPECT_EQ(plain.exitCode, json.exitCode);
        EXPECT_EQ("", json.output);
        EXPECT_EQ(plain.errors, json.errors);
    }
}

TEST_F(RestoreCommand, SaysThatACopyOrAFileIsHeld) {
    const HeldFile copy(Kept(kOld));
    for (const wchar_t* arguments : {L"--list", L"--list --json", kOld}) {
        const ToolRun run = Run(arguments);

        EXPECT_EQ(2u, run.exitCode);
        EXPECT_EQ("", run.output);
        EXPECT_EQ("zqsettings: the file " + Kept(kOld).string() +
                      " cannot be read: Sharing violation (Windows error 32).\n",
                  run.errors);
    }
}

TEST_F(RestoreCommand, LeavesAFileThatIsHeld) {
    ToolRun run;
    {
        const HeldFile file(m_folders.Private(kSettingsName), FILE_SHARE_READ);
        run = Run(kOld);
    }

    EXPECT_EQ(2u, run.exitCode);
    EXPECT_TRUE(run.errors.starts_with("zqsettings: the file " + m_folders.Private(kSettingsName).string() +
                                       " cannot be replaced: "))
        << run.errors;
    EXPECT_EQ(R"({"Level":3})", ReadBytes(m_folders.Private(kSettingsName)));
    EXPECT_EQ("2 copies\n", Run(L"--list").output.substr(Run(L"--list").output.size() - 9));
}

TEST_F(RestoreCommand, PutsACopyWhereTheFileIsMissing) {
    std::filesystem::remove(m_folders.Private(kSettingsName));

    EXPECT_EQ(0u, Run(kOld).exitCode);
    EXPECT_EQ(R"({"Level":1})", ReadBytes(m_folders.Private(kSettingsName)));
}

} // namespace
} // namespace zq::test
