#include "module/files/ReloadPass.h"

#include "module/files/FilesFixture.h"
#include "support/win32/ImportPatch.h"

#include <filesystem>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

const LogLine kBegin{LogProgress, L"ReloadPrivateConfigFile begin"};
const LogLine kLoadSettings{LogProgress, L"LoadSettingsFromFile begin."};
const LogLine kSettingsChanged{LogProgress, L"Private settings file changed."};
const LogLine kSettingsUnchanged{LogProgress, L"Private settings file not changed."};
const LogLine kHmdListUnchanged{LogProgress, L"Private hmd list file not changed."};
const LogLine kQualityUnchanged{LogProgress, L"Private Quality file not changed."};

class Pass : public FilesFixture {
protected:
    void SetUp() override { StartLoaded(); }

    // Looks at the three files and acts on it.
    bool Run() {
        for (size_t i = 0; i < files.size(); ++i) {
            m_looks[i] = files[i].LookIfChanged(clock);
        }
        return Act();
    }
    bool Act() { return ReloadPrivateConfigFile(files, m_looks, m_reload); }

    LogLine Repaired(ConfigFile kind) const {
        return {LogNotable, Copied(L"ReloadPrivateConfigFile() copy ", kind, L" again OK , exist:0.")};
    }
    LogLine SettingsMissing() const {
        return {LogNotable, Copied(L"ReloadPrivateConfigFile() Private settings file not found copy ",
                                   kSettings, L" OK , exist:0.")};
    }
    // What a pass logs if only the settings file has changed.
    static std::vector<LogLine> OfSettings(std::vector<LogLine> lines) {
        lines.insert(lines.begin(), kBegin);
        lines.push_back(kHmdListUnchanged);
        lines.push_back(kQualityUnchanged);
        return lines;
    }

    ReloadLooks m_looks;
    int m_notified = 0;
    ReloadContext m_reload{context, [this] { ++m_notified; }};
};

TEST_F(Pass, WithoutAChangeEachFileIsReportedAsUnchanged) {
    EXPECT_TRUE(Run());

    EXPECT_EQ((std::vector<LogLine>{kBegin, kSettingsUnchanged, kHmdListUnchanged, kQualityUnchanged}),
              host.Lines());
    EXPECT_EQ(0, m_notified);
}

TEST_F(Pass, AChangedFileIsLoadedAndItsHostsNotified) {
    Write(kSettings, R"({"Source":"edit"})");

    EXPECT_TRUE(Run());

    EXPECT_EQ(OfSettings({kSettingsChanged, kLoadSettings}), host.Lines());
    EXPECT_EQ(L"edit", String(L"Source"));
    EXPECT_EQ(*LastWriteTime(paths[0]), times[0]);
    EXPECT_EQ(1, m_notified);
}

TEST_F(Pass, ThreeChangedFilesAreLoadedInTheirOrderWithANotificationAfterEach) {
    Write(kQuality, R"({"Q":1})");
    Write(kHmdList, "[]");
    Write(kSettings, "{}");
    std::vector<size_t> linesAtNotification;
    const ReloadContext reload{context, [&] { linesAtNotification.push_back(host.Lines().size()); }};
    for (size_t i = 0; i < files.size(); ++i) {
        m_looks[i] = files[i].LookIfChanged(clock);
    }

    EXPECT_TRUE(ReloadPrivateConfigFile(files, m_looks, reload));

    const std::vector<LogLine> expected = {
        kBegin,
        kSettingsChanged,
        kLoadSettings,
        {LogProgress, L"Private hmd list file changed."},
        {LogProgress, L"LoadHmdListFromFile begin."},
        {LogProgress, L"Private Quality file changed."},
        {LogProgress, L"LoadQualityFromFile begin."},
    };
    EXPECT_EQ(expected, host.Lines());
    EXPECT_EQ((std::vector<size_t>{3, 5, 7}), linesAtNotification);
}

TEST_F(Pass, TheTimeIsRecordedBeforeTheFirstMessageAboutTheChange) {
    Write(kSettings, R"({"Source":"edit"})");
    FileTime atMessage;
    host.onLog = [&](const LogLine& line) {
        if (line == kSettingsChanged) {
            atMessage = times[0];
        }
    };

    Run();

    EXPECT_EQ(*LastWriteTime(paths[0]), atMessage);
}

TEST_F(Pass, NoMutexIsHeldWhileTheHostIsCalled) {
    Write(kSettings, kBroken);
    fs::remove(PathOf(kHmdList));
    host.onLog = [this](const LogLine&) {
        for (const Mutex& mutex : mutexes) {
            EXPECT_TRUE(IsFree(mutex));
        }
        EXPECT_TRUE(IsFree(storeMutex));
    };

    Run();
}

TEST_F(Pass, TheVeryBytesThatWereCheckedAreLoaded) {
    Write(kSettings, R"({"Source":"looked at"})");
    m_looks[0] = files[0].LookIfChanged(clock);
    const uint64_t lookedAt = LastWriteTime(paths[0])->ticks;
    Write(kSettings, R"({"Source":"newer"})");

    EXPECT_TRUE(Act());

    EXPECT_EQ(L"looked at", String(L"Source"));
    EXPECT_EQ(lookedAt, times[0].ticks);
    EXPECT_TRUE(File(kSettings).HasOtherTime());
}

TEST_F(Pass, ARefusedFileIsRefusedOnceReplacedAndItsDefaultLoaded) {
    Write(kSettings, kBroken);
    const FileTime refused = *LastWriteTime(paths[0]);

    EXPECT_TRUE(Run());

    EXPECT_EQ(OfSettings({kSettingsChanged, kLoadSettings, ParseFailed(kSettings, -1, kBroken.size()),
                          Repaired(kSettings), kLoadSettings}),
              host.Lines());
    EXPECT_EQ(DefaultContent(kSettings), Content(kSettings));
    EXPECT_EQ(L"default", String(L"Source"));
    EXPECT_EQ(1, m_notified);
    // The copy carries the default's time and counts as one more change.
    EXPECT_EQ(refused, times[0]);
}

TEST_F(Pass, TheNextPassLoadsARepairedFileOnceMore) {
    Write(kSettings, kBroken);
    Run();
    host.Clear();

    EXPECT_TRUE(Run());
    EXPECT_EQ(OfSettings({kSettingsChanged, kLoadSettings}), host.Lines());

    host.Clear();
    EXPECT_TRUE(Run());
    EXPECT_EQ(OfSettings({kSettingsUnchanged}), host.Lines());
}

TEST_F(Pass, ARefusedFileWithABrokenDefaultIsRefusedTwice) {
    WriteBytes(DefaultOf(kSettings), "broken");
    Write(kSettings, kBroken);

    EXPECT_TRUE(Run());

    EXPECT_EQ(OfSettings({kSettingsChanged, kLoadSettings, ParseFailed(kSettings, -1, kBroken.size()),
                          Repaired(kSettings), kLoadSettings, ParseFailed(kSettings, -1, 6)}),
              host.Lines());
}

TEST_F(Pass, AMissingFileIsReplacedAndLoaded) {
    fs::remove(PathOf(kSettings));

    EXPECT_TRUE(Run());

    EXPECT_EQ(OfSettings({SettingsMissing(), kSettingsChanged, kLoadSettings}), host.Lines());
    EXPECT_EQ(L"default", String(L"Source"));
    EXPECT_EQ(*LastWriteTime(defaultPaths[0]), times[0]);
    EXPECT_EQ(1, m_notified);
}

TEST_F(Pass, AMissingFileThatWasItsDefaultIsReplacedAndUnchanged) {
    fs::remove(PathOf(kSettings));
    Run();
    host.Clear();
    m_notified = 0;
    fs::remove(PathOf(kSettings));

    EXPECT_TRUE(Run());

    EXPECT_EQ(OfSettings({SettingsMissing(), kSettingsUnchanged}), host.Lines());
    EXPECT_EQ(0, m_notified);
}

TEST_F(Pass, EachFileHasItsOwnMissingMessageAtLevelOne) {
    for (const ConfigFile kind : kConfigFiles) {
        fs::remove(PathOf(kind));
    }

    EXPECT_TRUE(Run());

    const std::vector<LogLine> expected = {
        kBegin,
        SettingsMissing(),
        kSettingsChanged,
        kLoadSettings,
        {LogNotable, Copied(L"ReloadPrivateConfigFile()  HMD List file not found copy ", kHmdList,
                            L" again OK , exist:0.")},
        {LogProgress, L"Private hmd list file changed."},
        {LogProgress, L"LoadHmdListFromFile begin."},
        {LogNotable, Copied(L"ReloadPrivateConfigFile()Quality preset file not found copy ", kQuality,
                            L" again OK , exist:0.")},
        {LogProgress, L"Private Quality file changed."},
        {LogProgress, L"LoadQualityFromFile begin."},
    };
    EXPECT_EQ(expected, host.Lines());
    EXPECT_EQ(3, m_notified);
}

TEST_F(Pass, AMissingFileWhoseDefaultIsBrokenIsRefusedAndRepairedWithTheSameDefault) {
    WriteBytes(DefaultOf(kSettings), "broken");
    fs::remove(PathOf(kSettings));

    EXPECT_TRUE(Run());

    EXPECT_EQ(OfSettings({SettingsMissing(), kSettingsChanged, kLoadSettings, ParseFailed(kSettings, -1, 6),
                          Repaired(kSettings), kLoadSettings, ParseFailed(kSettings, -1, 6)}),
              host.Lines());
}

BOOL WINAPI RefuseAttributes(LPCWSTR path, GET_FILEEX_INFO_LEVELS level, LPVOID data) {
    const std::wstring_view name(path);
    if (name.ends_with(kSettingsName) || name.ends_with(kQualityName)) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    const HANDLE file = CreateFileW(path, 0, 7, nullptr, OPEN_EXISTING, 0, nullptr);
    auto* attributes = static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(data);
    const BOOL isDone =
        level == GetFileExInfoStandard && GetFileTime(file, nullptr, nullptr, &attributes->ftLastWriteTime);
    CloseHandle(file);
    return isDone;
}

TEST_F(Pass, AFileWhoseTimeCannotBeQueriedIsReportedAndTheOthersGoOn) {
    Write(kSettings, "{}");
    Write(kHmdList, "[]");
    {
        const ImportPatch patch(nullptr, "kernel32.dll", "GetFileAttributesExW", AsProc(RefuseAttributes));
        EXPECT_TRUE(Run());
    }

    const std::vector<LogLine> expected = {
        kBegin,
        {LogFailure, L"Fail to get stat of private settings file."},
        {LogProgress, L"Private hmd list file changed."},
        {LogProgress, L"LoadHmdListFromFile begin."},
        {LogFailure, L"Fail to get stat of private Quality file."},
    };
    EXPECT_EQ(expected, host.Lines());
    EXPECT_TRUE(File(kSettings).HasOtherTime());
}

TEST_F(Pass, TheHeadsetListHasItsOwnMessageForAFailedQuery) {
    m_looks[1].verdict = FileVerdict::NoTime;

    EXPECT_TRUE(Act());

    const std::vector<LogLine> expected = {kBegin,
                                           kSettingsUnchanged,
                                           {LogFailure, L"Fail to get stat of private hmd list file."},
                                           kQualityUnchanged};
    EXPECT_EQ(expected, host.Lines());
}

TEST_F(Pass, AHeldFileIsNotLoggedKeepsItsTimeAndDelaysNoOther) {
    const FileTime before = times[1];
    Write(kHmdList, "[{}]");
    Write(kQuality, R"({"Q":1})");
    UniqueHandle held = Hold(PathOf(kHmdList));

    EXPECT_TRUE(Run());
    held.reset();

    const std::vector<LogLine> expected = {kBegin,
                                           kSettingsUnchanged,
                                           {LogProgress, L"Private Quality file changed."},
                                           {LogProgress, L"LoadQualityFromFile begin."}};
    EXPECT_EQ(expected, host.Lines());
    EXPECT_EQ(before, times[1]);
    EXPECT_EQ(FileVerdict::Held, m_looks[1].verdict);
    EXPECT_EQ("[{}]", Content(kHmdList));
}

TEST_F(Pass, ARefusedFileThatChangesBeforeItIsReplacedIsLeftWithoutAMessage) {
    Write(kSettings, kBroken);
    const FileTime before = times[0];
    m_looks[0] = files[0].LookIfChanged(clock);
    Write(kSettings, R"({"Source":"completed"})");

    EXPECT_TRUE(Act());

    EXPECT_EQ(OfSettings({}), host.Lines());
    EXPECT_EQ(FileVerdict::Held, m_looks[0].verdict);
    EXPECT_EQ(before, times[0]);
    EXPECT_EQ(R"({"Source":"completed"})", Content(kSettings));
    EXPECT_EQ(0, m_notified);
}

TEST_F(Pass, AMissingFileThatAppearsBeforeItIsReplacedIsLeftWithoutAMessage) {
    fs::remove(PathOf(kSettings));
    m_looks[0] = files[0].LookIfChanged(clock);
    Write(kSettings, R"({"Source":"created"})");

    EXPECT_TRUE(Act());

    EXPECT_EQ(OfSettings({}), host.Lines());
    EXPECT_EQ(FileVerdict::Held, m_looks[0].verdict);
    EXPECT_EQ(R"({"Source":"created"})", Content(kSettings));
}

TEST_F(Pass, AMissingDefaultIsAnErrorThatLeavesTheRefusedFile) {
    fs::remove(DefaultOf(kSettings));
    Write(kSettings, kBroken);

    EXPECT_THROW(Run(), fs::filesystem_error);

    EXPECT_EQ((std::vector<LogLine>{kBegin, kSettingsChanged, kLoadSettings,
                                    ParseFailed(kSettings, -1, kBroken.size())}),
              host.Lines());
    EXPECT_EQ(kBroken, Content(kSettings));
}

TEST_F(Pass, AMissingDefaultOfAMissingFileIsAnErrorWithoutAMessage) {
    fs::remove(DefaultOf(kSettings));
    fs::remove(PathOf(kSettings));

    EXPECT_THROW(Run(), fs::filesystem_error);

    EXPECT_EQ(std::vector<LogLine>{kBegin}, host.Lines());
}

} // namespace
} // namespace zq::test
