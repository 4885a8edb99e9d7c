#include "module/files/FileFollower.h"

#include "module/files/FollowingFixture.h"

#include <filesystem>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

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

// Between two looks that are further apart, the file may have been complete.
TEST_F(Following, AGapOfMoreThan400MillisecondsBetweenTwoLooksStartsThemAgain) {
    Write(kSettings, kBroken);
    Notice();
    clock.Advance(400);
    Follow(ReloadCause::Timer);
    clock.Advance(299);
    Follow(ReloadCause::Timer);
    EXPECT_EQ(Times(), m_passes);
    clock.Advance(1);
    Follow(ReloadCause::Timer);
    EXPECT_EQ(Times{700}, m_passes);

    Write(kSettings, kBroken);
    Notice();
    clock.Advance(401);
    Follow(ReloadCause::Timer);
    RunFor(4000);
    EXPECT_EQ((Times{700, 700 + 401 + 700}), m_passes);
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

// A pass whose second file is abandoned has loaded the first one.
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
