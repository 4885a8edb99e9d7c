#include "module/files/FileFollower.h"

#include "module/files/FilesFixture.h"
#include "support/win32/ImportPatch.h"

#include <filesystem>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

constexpr ConfigFile kSettings = ConfigFile::Settings;
constexpr ConfigFile kQuality = ConfigFile::Quality;

constexpr std::string_view kBroken = "{\"Somebody's\":\"work\"";

class Switch final : public Cancellation {
public:
    bool IsRequested() const override { return isOn; }
    bool isOn = false;
};

// Does what the watcher does: calls the follower for each notice and whenever it asked to be called.
class Following : public FilesFixture {
protected:
    void SetUp() override {
        StartLoaded();
        m_start = clock.Milliseconds();
    }

    void Follow(ReloadCause cause) {
        const FollowResult result = m_follower.Follow(cause);
        if (result.isReported) {
            m_passes.push_back(clock.Milliseconds() - m_start);
        }
        m_callAt = result.lookAgain == kNoTimer ? UINT64_MAX : clock.Milliseconds() + result.lookAgain;
    }
    void Notice() { Follow(ReloadCause::Notice); }

    // After `milliseconds`, an edit and the notice of it.
    void EditIn(uint64_t milliseconds, std::function<void()> edit, ReloadCause cause = ReloadCause::Notice) {
        clock.In(milliseconds, [this, edit = std::move(edit), cause] {
            edit();
            Follow(cause);
        });
    }

    void RunFor(uint64_t milliseconds) {
        const uint64_t end = clock.Milliseconds() + milliseconds;
        while (clock.Milliseconds() < end) {
            const uint64_t next = std::min({end, m_callAt, clock.NextPlanned().value_or(end)});
            clock.Advance(next - clock.Milliseconds());
            if (m_callAt <= clock.Milliseconds()) {
                ++m_timers;
                Follow(ReloadCause::Timer);
            }
        }
    }

    bool HasTimer() const { return m_callAt != UINT64_MAX; }

    using Times = std::vector<uint64_t>;

    Switch m_cancellation;
    int m_notified = 0;
    ReloadContext m_reload{{store, log, clock, &m_cancellation}, [this] { ++m_notified; }};
    FileFollower m_follower{files, m_reload};
    uint64_t m_start = 0;
    uint64_t m_callAt = UINT64_MAX;
    int m_timers = 0;
    Times m_passes; // after the start
};

TEST_F(Following, ANoticeWithoutAChangeRunsAPassAtOnce) {
    Notice();

    EXPECT_EQ(Times{0}, m_passes);
    EXPECT_FALSE(HasTimer());
    EXPECT_EQ(4U, host.Lines().size());
}

TEST_F(Following, AnAcceptableChangeIsLoadedAtOnceWhoeverHasItOpen) {
    Write(kSettings, R"({"Source":"edit"})");
    const UniqueHandle writer =
        Hold(PathOf(kSettings), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);

    Notice();

    EXPECT_EQ(Times{0}, m_passes);
    EXPECT_EQ(L"edit", String(L"Source"));
    EXPECT_FALSE(HasTimer());
}

TEST_F(Following, ARefusedFileIsReplacedAfterExactly700Milliseconds) {
    Write(kSettings, kBroken);
    Notice();

    RunFor(699);
    EXPECT_EQ(Times(), m_passes);
    EXPECT_TRUE(host.Lines().empty());
    EXPECT_EQ(kBroken, Content(kSettings));

    RunFor(1);
    EXPECT_EQ(Times{700}, m_passes);
    EXPECT_EQ(DefaultContent(kSettings), Content(kSettings));
    EXPECT_EQ(4, m_timers);
}

TEST_F(Following, AMissingFileIsReplacedAfterExactly700Milliseconds) {
    fs::remove(PathOf(kSettings));
    Notice();

    RunFor(699);
    EXPECT_EQ(Times(), m_passes);
    EXPECT_FALSE(fs::exists(PathOf(kSettings)));

    RunFor(1);
    EXPECT_EQ(Times{700}, m_passes);
    EXPECT_EQ(DefaultContent(kSettings), Content(kSettings));
    EXPECT_EQ(1, m_notified);
}

TEST_F(Following, AChangeOfTheTroubleStartsThe700MillisecondsAgain) {
    Write(kSettings, "{");
    Notice();
    EditIn(600, [this] { Write(kSettings, "{\"Some"); });
    EditIn(1200, [this] { fs::remove(PathOf(kSettings)); });
    EditIn(1800, [this] { Write(kSettings, "{\"Other"); });

    RunFor(4000);

    EXPECT_EQ(Times{1800 + 700}, m_passes);
}

TEST_F(Following, AChangeThatNoNoticeReportsStartsThemAgainToo) {
    Write(kSettings, "{");
    Notice();
    clock.In(600, [this] { Write(kSettings, "{\"Some"); });

    RunFor(4000);

    EXPECT_EQ(Times{600 + 700}, m_passes);
}

TEST_F(Following, ANoticeWithoutAChangeDoesNotStartThemAgain) {
    Write(kSettings, "{");
    Notice();
    EditIn(300, [] {});
    EditIn(600, [] {});

    RunFor(4000);

    EXPECT_EQ(Times{700}, m_passes);
}

TEST_F(Following, ANewTimeOfTheSameContentDoesNotStartThemAgain) {
    Write(kSettings, "{");
    Notice();
    EditIn(300, [this] { Write(kSettings, "{"); });

    RunFor(4000);

    EXPECT_EQ(Times{700}, m_passes);
}

TEST_F(Following, AFileThatIsCompletedIsLoadedAtOnceAndItsRefusalNeverLogged) {
    Write(kSettings, "");
    Notice();
    EditIn(200, [this] { Write(kSettings, "{\"Source\":\"ed"); });
    EditIn(400, [this] { Write(kSettings, R"({"Source":"edit"})"); });

    RunFor(4000);

    EXPECT_EQ(Times{400}, m_passes);
    EXPECT_EQ(L"edit", String(L"Source"));
    EXPECT_EQ(5U, host.Lines().size());
    EXPECT_EQ(1, m_notified);
}

TEST_F(Following, AFileThatIsDeletedAndCreatedAgainIsLoadedAtOnce) {
    fs::remove(PathOf(kSettings));
    Notice();
    EditIn(690, [this] { Write(kSettings, R"({"Source":"edit"})"); });

    RunFor(4000);

    EXPECT_EQ(Times{690}, m_passes);
    EXPECT_EQ(L"edit", String(L"Source"));
    EXPECT_EQ(0, host.Count(Copied(L"ReloadPrivateConfigFile() Private settings file not found copy ",
                                   kSettings, L" OK , exist:0.")));
}

TEST_F(Following, AFileThatIsRenamedAwayAndBackAgainIsUnchanged) {
    fs::rename(PathOf(kSettings), folders.Outside(L"backup"));
    Notice();
    EditIn(400, [this] { fs::rename(folders.Outside(L"backup"), PathOf(kSettings)); });

    RunFor(4000);

    EXPECT_EQ(Times{400}, m_passes);
    EXPECT_EQ(4U, host.Lines().size());
    EXPECT_EQ(0, m_notified);
}

TEST_F(Following, ThreeDeletionsOneAfterTheOtherAreRepairedTogether) {
    for (const ConfigFile kind : kConfigFiles) {
        EditIn(100 * static_cast<uint64_t>(kind), [this, kind] { fs::remove(PathOf(kind)); });
    }

    RunFor(4000);

    EXPECT_EQ(Times{200 + 700}, m_passes);
    for (const ConfigFile kind : kConfigFiles) {
        EXPECT_EQ(DefaultContent(kind), Content(kind));
    }
    EXPECT_EQ(3, m_notified);
}

TEST_F(Following, ThreeDeletionsAtOnceAreRepairedWithinASecond) {
    for (const ConfigFile kind : kConfigFiles) {
        fs::remove(PathOf(kind));
    }
    Notice();

    RunFor(1000);

    EXPECT_EQ(Times{700}, m_passes);
}

TEST_F(Following, AnotherFileWaitsForTheTroubledOneAndIsLoadedInTheSamePass) {
    Write(kSettings, "{");
    Notice();
    EditIn(100, [this] { Write(kQuality, R"({"Q":7})"); });
    EditIn(300, [this] { Write(kSettings, R"({"Source":"edit"})"); });

    RunFor(4000);

    EXPECT_EQ(Times{300}, m_passes);
    EXPECT_EQ(7, Int64(L"Q"));
    EXPECT_EQ(L"edit", String(L"Source"));
}

TEST_F(Following, AHeldFileNeverHoldsUpTheOtherTwo) {
    Write(kSettings, R"({"Source":"edit"})");
    Write(kQuality, R"({"Q":7})");
    UniqueHandle held = Hold(PathOf(kSettings));
    Notice();
    EXPECT_EQ(Times{0}, m_passes);
    EXPECT_EQ(7, Int64(L"Q"));
    EXPECT_EQ(L"user", String(L"Source"));
    EXPECT_EQ(0, host.Count(L"Private settings file changed."));
    const size_t lines = host.Lines().size();

    RunFor(60'000);
    EXPECT_EQ(Times{0}, m_passes);
    EXPECT_EQ(lines, host.Lines().size());

    held.reset();
    RunFor(250);
    EXPECT_EQ(2U, m_passes.size());
    EXPECT_EQ(L"edit", String(L"Source"));
    EXPECT_FALSE(HasTimer());
}

TEST_F(Following, AHeldFileIsCheckedAfter10MillisecondsAndThenLessAndLessOften) {
    Write(kSettings, R"({"Source":"edit"})");
    const UniqueHandle held = Hold(PathOf(kSettings));
    Notice();
    Times looks;
    for (int i = 0; i < 8; ++i) {
        looks.push_back(m_callAt - clock.Milliseconds());
        RunFor(looks.back());
    }

    EXPECT_EQ((Times{10, 20, 40, 80, 160, 250, 250, 250}), looks);
}

TEST_F(Following, ThePauseForAHeldFileStartsAgainForTheNextOne) {
    Write(kSettings, R"({"Source":"edit"})");
    UniqueHandle held = Hold(PathOf(kSettings));
    Notice();
    RunFor(2000);
    held.reset();
    RunFor(250);

    Write(kQuality, R"({"Q":7})");
    held = Hold(PathOf(kQuality));
    Notice();

    EXPECT_EQ(10U, m_callAt - clock.Milliseconds());
}

TEST_F(Following, AHeldFileThatTurnsOutBrokenIsGivenTime) {
    Write(kSettings, kBroken);
    UniqueHandle held = Hold(PathOf(kSettings));
    Notice();
    clock.In(1000, [&] { held.reset(); });

    RunFor(1600);
    EXPECT_EQ(Times{0}, m_passes);
    EXPECT_EQ(kBroken, Content(kSettings));

    RunFor(600);
    EXPECT_EQ(2U, m_passes.size());
    EXPECT_EQ(DefaultContent(kSettings), Content(kSettings));
}

TEST_F(Following, ARefusedFileThatSomebodyWritesIsWaitedForHoweverLong) {
    Write(kSettings, kBroken);
    UniqueHandle writer =
        Hold(PathOf(kSettings), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    Notice();

    RunFor(60'000);
    EXPECT_EQ(Times{700}, m_passes);
    EXPECT_EQ(kBroken, Content(kSettings));
    EXPECT_EQ((std::vector<LogLine>{{LogProgress, L"ReloadPrivateConfigFile begin"},
                                    {LogProgress, L"Private hmd list file not changed."},
                                    {LogProgress, L"Private Quality file not changed."}}),
              host.Lines());

    writer.reset();
    Write(kSettings, R"({"Source":"edit"})");
    RunFor(710);
    EXPECT_EQ(L"edit", String(L"Source"));
}

TEST_F(Following, ATimerLooksOnlyAtTheFilesThatHaveAReason) {
    Write(kSettings, R"({"Source":"edit"})");
    UniqueHandle held = Hold(PathOf(kSettings));
    Notice();
    m_passes.clear();
    // No notice tells of it, as it came after a foreign record.
    Write(kQuality, R"({"Q":7})");

    RunFor(5000);
    EXPECT_EQ(std::nullopt, Int64(L"Q"));

    // A pass that a timer runs looks at all three.
    held.reset();
    RunFor(250);
    EXPECT_EQ(7, Int64(L"Q"));
    EXPECT_EQ(1U, m_passes.size());
}

TEST_F(Following, AFreshFileIsCheckedAgainSilentlyAfter50Milliseconds) {
    WriteNow(kSettings, R"({"Source":"edit"})");
    Notice();
    EXPECT_EQ(50U, m_callAt - clock.Milliseconds());
    const size_t lines = host.Lines().size();

    RunFor(5000);

    EXPECT_EQ(Times{0}, m_passes);
    EXPECT_EQ(lines, host.Lines().size());
    EXPECT_EQ(1, m_timers);
    EXPECT_EQ(1, m_notified);
    EXPECT_FALSE(HasTimer());
}

TEST_F(Following, TwoWritesWithinOneTickAreBothLoaded) {
    WriteNow(kSettings, R"({"Source":"first"})");
    const uint64_t tick = clock.FileTicks();
    Notice();
    clock.In(1, [this, tick] {
        WriteBytes(PathOf(kSettings), R"({"Source":"second"})");
        SetLastWrite(PathOf(kSettings), tick);
    });

    RunFor(5000);

    EXPECT_EQ((Times{0, 50}), m_passes);
    EXPECT_EQ(L"second", String(L"Source"));
    EXPECT_EQ(2, m_notified);
}

TEST_F(Following, AtTheStartAnEditMadeBeforeIsLoaded) {
    Write(kSettings, R"({"Source":"edit"})");

    Follow(ReloadCause::Start);

    EXPECT_EQ(Times{0}, m_passes);
    EXPECT_EQ(L"edit", String(L"Source"));
}

TEST_F(Following, AtTheStartWithoutAnEditNoPassRuns) {
    Follow(ReloadCause::Start);
    RunFor(5000);

    EXPECT_EQ(Times(), m_passes);
    EXPECT_TRUE(host.Lines().empty());
}

TEST_F(Following, AtTheStartAMissingFileWaitsForTheNextNotice) {
    fs::remove(PathOf(kSettings));

    Follow(ReloadCause::Start);
    RunFor(5000);
    EXPECT_EQ(Times(), m_passes);

    Notice();
    RunFor(700);
    EXPECT_EQ(Times{5700}, m_passes);
}

TEST_F(Following, WhatDoInitLoadedFreshIsConfirmedFromTheStart) {
    WriteNow(kSettings, R"({"Source":"first"})");
    const uint64_t tick = clock.FileTicks();
    ProvisionAndLoadPrivateFiles(files, context);
    WriteBytes(PathOf(kSettings), R"({"Source":"second"})");
    SetLastWrite(PathOf(kSettings), tick);

    Follow(ReloadCause::Start);
    RunFor(5000);

    EXPECT_EQ(L"second", String(L"Source"));
    EXPECT_EQ(1U, m_passes.size());
}

TEST_F(Following, WhatDoInitFoundHeldIsLoadedWhenItIsFree) {
    Write(kSettings, R"({"Source":"edit"})");
    UniqueHandle held = Hold(PathOf(kSettings));
    ProvisionAndLoadPrivateFiles(files, context);
    EXPECT_EQ(L"default", String(L"Source"));

    Follow(ReloadCause::Start);
    RunFor(1000);
    held.reset();
    RunFor(250);

    EXPECT_EQ(L"edit", String(L"Source"));
}

TEST_F(Following, OtherChangesAreIgnored) {
    Write(kSettings, R"({"Source":"edit"})");

    Follow(ReloadCause::Other);
    RunFor(5000);

    EXPECT_EQ(Times(), m_passes);
}

TEST_F(Following, WithFollowEveryChangeOtherChangesAreCheckedSilently) {
    store.SetBool(L"FollowEveryChange", 1);
    Follow(ReloadCause::Other);
    EXPECT_TRUE(host.Lines().empty());

    Write(kSettings, R"({"Source":"edit"})");
    Follow(ReloadCause::Other);
    EXPECT_EQ(Times{0}, m_passes);
    EXPECT_EQ(L"edit", String(L"Source"));

    host.Clear();
    Follow(ReloadCause::Other);
    EXPECT_TRUE(host.Lines().empty());

    fs::remove(PathOf(kSettings));
    Follow(ReloadCause::Other);
    RunFor(700);
    EXPECT_EQ(DefaultContent(kSettings), Content(kSettings));
}

TEST_F(Following, FollowEveryChangeOfZeroIsOff) {
    store.SetBool(L"FollowEveryChange", 0);
    Write(kSettings, R"({"Source":"edit"})");

    Follow(ReloadCause::Other);

    EXPECT_EQ(Times(), m_passes);
}

TEST_F(Following, FollowEveryChangeComesFromTheSettingsFile) {
    Write(kSettings, R"({"FollowEveryChange":true})");
    Notice();
    m_passes.clear();
    Write(kQuality, R"({"Q":7})");

    Follow(ReloadCause::Other);

    EXPECT_EQ(1U, m_passes.size());
}

TEST_F(Following, ARepairedFileIsLoadedOnceMoreAtItsNextNotice) {
    Write(kSettings, kBroken);
    Notice();
    RunFor(700);
    Notice();

    EXPECT_EQ((Times{700, 700}), m_passes);
    EXPECT_EQ(2, host.Count(L"Private settings file changed."));
    EXPECT_EQ(2, m_notified);
}

TEST_F(Following, AStopBeforeThePassLeavesEverythingAsItIs) {
    Write(kSettings, R"({"Source":"edit"})");
    const FileTime before = times[0];
    m_cancellation.isOn = true;

    Notice();

    EXPECT_EQ(Times(), m_passes);
    EXPECT_TRUE(host.Lines().empty());
    EXPECT_EQ(before, times[0]);
}

// A pass whose second file is given up has loaded the first one.
TEST_F(Following, EachLoadedFileIsReportedOnce) {
    Write(kSettings, R"({"Source":"edit"})");
    Write(kQuality, R"({"Q":7})");
    Notice();

    EXPECT_EQ(Times{0}, m_passes);
    EXPECT_EQ(2, m_notified);
}

TEST_F(Following, AFileOfTheWrongKindIsGivenTimeAndThenIsAnError) {
    fs::remove(PathOf(kSettings));
    fs::create_directory(PathOf(kSettings));
    SetLastWrite(folders.Default(kSettingsName), kTestEpoch - kTicksPerSecond);
    Notice();
    RunFor(699);
    EXPECT_EQ(Times(), m_passes);

    EXPECT_THROW(RunFor(1), fs::filesystem_error);
}

TEST_F(Following, ATimerWithNothingToDoRequestsNoOther) {
    Follow(ReloadCause::Timer);

    EXPECT_EQ(Times(), m_passes);
    EXPECT_FALSE(HasTimer());
    EXPECT_TRUE(host.Lines().empty());
}

TEST_F(Following, ANoticeOfTheFileStartsThe700MillisecondsAgainThoughEachLookFindsItMissing) {
    fs::remove(PathOf(kSettings));
    Notice();
    for (int i = 0; i < 20; ++i) {
        RunFor(100);
        m_follower.Follow(ReloadCause::Notice, {true, false, false});
    }
    EXPECT_EQ(Times{}, m_passes);

    RunFor(700);
    EXPECT_EQ(1U, m_passes.size());
}

} // namespace
} // namespace zq::test
