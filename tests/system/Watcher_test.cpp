// The folder watcher on a real folder: what triggers a reload pass, and what a pass does and logs.
#include "support/win32/ChangeLog.h"
#include "support/win32/Module.h"
#include "support/win32/VariableHost.h"
#include "support/win32/Waiting.h"
#include "support/win32/WatchRequests.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kEnd = L"ThreadEntryWatchConfig end.";

void BackdateDefault(const ModuleFolders& folders, const wchar_t* name) {
    fs::last_write_time(folders.Default(name),
                        fs::last_write_time(folders.Default(name)) - std::chrono::hours(1));
}

// A module that watches its folder.
class Watcher : public testing::Test {
protected:
    void SetUp() override {
        // The files that DoInit copies and loads are old, so that the watcher does not check them again
        // after 50 ms.
        for (const wchar_t* const name : {kSettingsName, kHmdListName, kQualityName}) {
            BackdateDefault(folders, name);
        }
        InitAndWatch(module, host, folders);
        host.Clear();
    }

    // Renames a new file over the other: one change, with one notice.
    void Edit(const wchar_t* name, std::string_view bytes) {
        WriteBytes(folders.Outside(L"new.json"), bytes);
        fs::rename(folders.Outside(L"new.json"), folders.Private(name));
    }

    // Waits until the next pass has ended and the watcher waits for the next change.
    void EditAndWait(const wchar_t* name, std::string_view bytes) {
        const int reloads = host.Reloads();
        const int requests = WatchRequests();
        Edit(name, bytes);
        ASSERT_TRUE(WaitFor([&] { return host.Reloads() > reloads && WatchRequests() > requests; }));
    }

    // The notice of what `change` does has been handled when this returns.
    template <class Change>
    void ChangeAndWait(Change change) {
        const int requests = WatchRequests();
        change();
        ASSERT_TRUE(WaitFor([&] { return WatchRequests() > requests; }));
    }

    ModuleFolders folders;
    RecordingHost host;
    Module module;
};

TEST_F(Watcher, SavingTheHeadsetListReloadsItAndReportsTheOthersNotChanged) {
    EditAndWait(kHmdListName,
                R"([{"DeviceName":"X","Response":[{"MainRequest":7,"SubRequest":8,"index":9,"Value":5}]}])");

    EXPECT_EQ(5, module.Int64(L"CL.X.7.8.9"));
    const std::vector<LogLine> expected = {
        {2, L"ReloadPrivateConfigFile begin"},     {2, L"Private settings file not changed."},
        {2, L"Private hmd list file changed."},    {2, L"LoadHmdListFromFile begin."},
        {2, L"Private Quality file not changed."},
    };
    std::vector<LogLine> lines = host.Lines();
    lines.resize(expected.size());
    EXPECT_EQ(expected, lines);
}

TEST_F(Watcher, RenamingAFileOverAnotherFromOutsideReloadsIt) {
    WriteBytes(folders.Outside(L"new.json"), R"({"Edit":3})");

    fs::rename(folders.Outside(L"new.json"), folders.Private(kSettingsName));

    EXPECT_TRUE(WaitFor([&] { return module.Int64(L"Edit") == 3; }));
}

TEST_F(Watcher, ANameInOtherLetterCaseCountsAsTheFile) {
    EditAndWait(L"zq2_hmdlist.json",
                R"([{"DeviceName":"Y","Response":[{"MainRequest":1,"SubRequest":1,"index":1,"Value":6}]}])");

    EXPECT_EQ(6, module.Int64(L"CL.Y.1.1.1"));
}

TEST_F(Watcher, OtherFilesAndSubfoldersTriggerNothing) {
    ChangeAndWait([&] { Edit(L"other.json", "{}"); });
    ChangeAndWait([&] { fs::create_directory(folders.DataDir() / L"below"); });
    WriteBytes(folders.DataDir() / L"below" / kSettingsName, "{}");
    EXPECT_FALSE(host.Has(L"ReloadPrivateConfigFile begin"));

    EditAndWait(kSettingsName, R"({"Edit":1})");
    EXPECT_EQ(1, module.Int64(L"Edit"));
}

TEST_F(Watcher, ADeletedUneditedFileIsCopiedInAndReportedNotChanged) {
    fs::remove(folders.Private(kQualityName));

    ASSERT_TRUE(WaitFor([&] { return host.Reloads() > 0; }));
    EXPECT_TRUE(host.Has(L"ReloadPrivateConfigFile()Quality preset file not found copy " +
                         folders.Private(kQualityName).wstring() + L" again OK , exist:0."));
    EXPECT_TRUE(host.Has(L"Private Quality file not changed."));
    EXPECT_FALSE(host.Has(L"LoadQualityFromFile begin."));
    EXPECT_EQ(ReadBytes(folders.Default(kQualityName)), ReadBytes(folders.Private(kQualityName)));
}

TEST_F(Watcher, ADeletedEditedFileIsCopiedInAndLoaded) {
    EditAndWait(kSettingsName, R"({"Source":"edited"})");
    host.Clear();

    fs::remove(folders.Private(kSettingsName));

    ASSERT_TRUE(WaitFor([&] { return module.String(L"Source") == L"default"; }));
    EXPECT_EQ(1, host.Count(L"ReloadPrivateConfigFile() Private settings file not found copy " +
                            folders.Private(kSettingsName).wstring() + L" OK , exist:0."));
    EXPECT_TRUE(host.Has(L"Private settings file changed."));
}

TEST_F(Watcher, ADeletedHeadsetListIsCopiedInWithItsOwnMessage) {
    fs::remove(folders.Private(kHmdListName));

    ASSERT_TRUE(WaitFor([&] { return host.Reloads() > 0; }));
    EXPECT_TRUE(host.Has(L"ReloadPrivateConfigFile()  HMD List file not found copy " +
                         folders.Private(kHmdListName).wstring() + L" again OK , exist:0."));
}

TEST_F(Watcher, InvalidJsonIsReplacedByTheDefaultWhichTheNextPassLoadsOnceMore) {
    EditAndWait(kSettingsName, R"({"Source":"broken",)");

    EXPECT_EQ(L"default", module.String(L"Source"));
    EXPECT_EQ(1, host.Count(L"ReloadPrivateConfigFile() copy " + folders.Private(kSettingsName).wstring() +
                            L" again OK , exist:0."));
    // Removing and copying are also changes to the file, so the next pass has already run.
    EXPECT_TRUE(WaitFor([&] { return host.Count(L"Private settings file changed.") == 2; }));
    EXPECT_EQ(ReadBytes(folders.Default(kSettingsName)), ReadBytes(folders.Private(kSettingsName)));
}

TEST_F(Watcher, StoppingWithoutAPendingChangeEndsTheThreadAtOnce) {
    const ULONGLONG start = GetTickCount64();

    module->DoStop();

    EXPECT_LT(GetTickCount64() - start, 500U);
    const std::vector<LogLine> expected = {{2, L"DoStop begin"}, {2, kEnd}, {2, L"DoStop end"}};
    EXPECT_EQ(expected, host.Lines());
}

TEST_F(Watcher, AChangeAfterAnotherFilesRecordWaitsForTheNextMatchingOne) {
    host.onReloaded = Once([this] {
        // While the host holds the watcher, both changes arrive in one completion, the other file's first.
        // A second watch sees them as they arrive.
        ChangeLog changes(folders.DataDir());
        WriteBytes(folders.DataDir() / L"a.tmp", "x");
        Edit(kSettingsName, R"({"Edit":2})");
        EXPECT_TRUE(changes.WaitForName(kSettingsName));
    });
    const int requests = WatchRequests();
    Edit(kQualityName, R"({"Edit2":1})");
    ASSERT_TRUE(WaitFor([&] { return WatchRequests() >= requests + 2; }));
    EXPECT_EQ(std::nullopt, module.Int64(L"Edit"));

    EditAndWait(kQualityName, R"({"Edit2":2})");
    EXPECT_TRUE(WaitFor([&] { return module.Int64(L"Edit") == 2; }));
}

TEST(WatcherStart, AnExactCopyOfTheRecordedTimeCountsAsUnchanged) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    BackdateDefault(folders, kSettingsName); // the recorded time has to be an older one
    InitAndWatch(module, host, folders);
    WIN32_FILE_ATTRIBUTE_DATA recorded{};
    ASSERT_TRUE(
        GetFileAttributesExW(folders.Private(kSettingsName).c_str(), GetFileExInfoStandard, &recorded));
    const fs::path copy = folders.Outside(L"new.json");
    WriteBytes(copy, R"({"Edit":3})");
    const HANDLE file =
        CreateFileW(copy.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_TRUE(SetFileTime(file, nullptr, nullptr, &recorded.ftLastWriteTime));
    CloseHandle(file);

    fs::rename(copy, folders.Private(kSettingsName));

    ASSERT_TRUE(WaitFor([&] { return host.Reloads() > 0; }));
    EXPECT_TRUE(host.Has(L"Private settings file not changed."));
    EXPECT_EQ(std::nullopt, module.Int64(L"Edit"));
}

TEST_F(Watcher, EveryHostIsNotifiedOfOneReloadForAFileAndNotOfItsVariables) {
    NoticeHost first;
    NoticeHost second;
    module.Variables().RegisterHost(&first);
    module.Variables().RegisterHost(&second);
    EditAndWait(kSettingsName, R"({"Edit":3,"Other":"text"})");

    ASSERT_TRUE(WaitFor([&] { return first.Count() > 0 && second.Count() > 0 && host.Reloads() > 0; }));
    const std::vector<Notice> expected = {{L"", VariableTypeNone, nullptr}};
    EXPECT_EQ(expected, first.Notices());
    EXPECT_EQ(expected, second.Notices());
    EXPECT_EQ(3, module.Int64(L"Edit"));
    module.Variables().UnregisterHost(&first);
    module.Variables().UnregisterHost(&second);
}

TEST_F(Watcher, AKeyRemovedFromAReloadedFileKeepsItsVariable) {
    EditAndWait(kSettingsName, R"({"Kept":1,"Other":1})");
    EditAndWait(kSettingsName, R"({"Other":2})");

    EXPECT_TRUE(WaitFor([&] { return module.Int64(L"Other") == 2; }));
    EXPECT_EQ(1, module.Int64(L"Kept"));
}

TEST(WatcherStart, AMissingDataFolderEndsTheThreadWithItsMessage) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    module.Init(host, folders);
    fs::remove_all(folders.DataDir());
    host.Clear();

    module->DoStart();

    ASSERT_TRUE(WaitFor([&] { return host.Has(L"Fail to CreateFile on programdata folder."); }));
    module->DoStop();
    EXPECT_FALSE(host.Has(kEnd));
}

TEST(WatcherStart, AnEditBetweenDoInitAndDoStartIsLoaded) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    module.Init(host, folders);
    WriteBytes(folders.Private(kSettingsName), R"({"Edit":1})");

    module->DoStart();

    EXPECT_TRUE(WaitFor([&] { return module.Int64(L"Edit") == 1; }));
}

TEST(WatcherStart, WithoutAnEditNoPassRuns) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    InitAndWatch(module, host, folders);

    // The look at the start comes before the first change is handled.
    const int requests = WatchRequests();
    WriteBytes(folders.DataDir() / L"other", "");
    ASSERT_TRUE(WaitFor([&] { return WatchRequests() > requests; }));

    EXPECT_FALSE(host.Has(L"ReloadPrivateConfigFile begin"));
}

TEST(WatcherStart, AFolderThatIsMovedAwayWhileWatchedCausesNoPass) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    InitAndWatch(module, host, folders);
    host.Clear();

    fs::rename(folders.DataDir(), folders.Outside(L"elsewhere"));
    module->DoStop();

    EXPECT_TRUE(host.Has(kEnd));
    EXPECT_FALSE(host.Has(L"ReloadPrivateConfigFile begin"));
}

// Runs a module whose watcher finds a file missing and no default copy for it.
void LoseFileAndDefault() {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    InitAndWatch(module, host, folders);
    fs::remove(folders.Default(kSettingsName));
    fs::remove(folders.Private(kSettingsName));
    WaitFor([&] { return host.Reloads() > 0; });
}

TEST(WatcherStartDeathTest, AFailedCopyIsAnErrorThatNothingOnTheWatchersThreadCatches) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";

    EXPECT_DEATH(LoseFileAndDefault(), "");
}

TEST(WatcherStart, AStartAfterAStopDoesNotWatch) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    InitAndWatch(module, host, folders);
    module->DoStop();

    module->DoStart();

    EXPECT_TRUE(WaitFor([&] { return host.Count(kEnd) == 2; }));
}

} // namespace
} // namespace zq::test
