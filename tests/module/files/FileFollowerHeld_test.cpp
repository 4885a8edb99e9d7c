// Files that other programs hold or write: the follower checks them again until they are free.
#include "module/files/FollowingFixture.h"

namespace zq::test {
namespace {

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
    // No notice reports this change, since it came after a foreign record.
    Write(kQuality, R"({"Q":7})");

    RunFor(5000);
    EXPECT_EQ(std::nullopt, Int64(L"Q"));

    // A pass that a timer triggers checks all three.
    held.reset();
    RunFor(250);
    EXPECT_EQ(7, Int64(L"Q"));
    EXPECT_EQ(1U, m_passes.size());
}

} // namespace
} // namespace zq::test
