// What the follower makes of the times that are recorded: of fresh files, and at the start.
#include "module/files/FollowingFixture.h"

#include <filesystem>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

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

} // namespace
} // namespace zq::test
