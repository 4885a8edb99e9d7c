#include "module/files/PrivateFiles.h"

#include "module/files/FilesFixture.h"
#include "support/win32/UnixCommand.h"

#include <filesystem>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

class InitialLoads : public FilesFixture {
protected:
    InitialLoads() {
        // A wait holds no file's mutex; checking that is slow.
        clock.onSleep = [this](uint32_t) {
            for (const Mutex& mutex : mutexes) {
                EXPECT_TRUE(m_asked > 6 || IsFree(mutex));
                ++m_asked;
            }
        };
    }

    void Run() { ProvisionAndLoadPrivateFiles(files, context); }
    uint64_t MillisecondsOfRun() {
        const uint64_t start = clock.Milliseconds();
        Run();
        return clock.Milliseconds() - start;
    }
    void WriteAllValid() {
        Write(kSettings, R"({"Source":"user"})");
        Write(kHmdList, "[]");
        Write(kQuality, "{}");
    }
    LogLine Provisioned(ConfigFile kind) const {
        return {LogNotable, Copied(L"[DoInit] copy ", kind, L" OK , exist:0 .")};
    }
    LogLine Repaired(ConfigFile kind) const {
        return {LogNotable, Copied(L"DoInit() copy ", kind, L" again OK , exist:0.")};
    }
    // The messages of the settings file; the two other files are fine.
    std::vector<LogLine> WithOthers(std::vector<LogLine> lines) const {
        lines.push_back({LogProgress, L"LoadHmdListFromFile begin."});
        lines.push_back({LogProgress, L"LoadQualityFromFile begin."});
        return lines;
    }

private:
    int m_asked = 0;
};

TEST_F(InitialLoads, AnEmptyFolderIsProvidedFirstAndThenLoaded) {
    EXPECT_EQ(0U, MillisecondsOfRun());

    const std::vector<LogLine> expected = {
        Provisioned(kSettings),
        Provisioned(kHmdList),
        Provisioned(kQuality),
        {LogProgress, L"LoadSettingsFromFile begin."},
        {LogProgress, L"LoadHmdListFromFile begin."},
        {LogProgress, L"LoadQualityFromFile begin."},
    };
    EXPECT_EQ(expected, host.Lines());
    EXPECT_EQ(L"default", String(L"Source"));
    for (const ConfigFile kind : kConfigFiles) {
        EXPECT_EQ(DefaultContent(kind), Content(kind));
        EXPECT_FALSE(File(kind).HasOtherTime());
    }
}

TEST_F(InitialLoads, ExistingFilesAreLoadedAtOnce) {
    WriteAllValid();

    EXPECT_EQ(0U, MillisecondsOfRun());

    EXPECT_EQ(WithOthers({{LogProgress, L"LoadSettingsFromFile begin."}}), host.Lines());
    EXPECT_EQ(L"user", String(L"Source"));
}

TEST_F(InitialLoads, ARefusedFileIsGiven20MillisecondsAndRefusedWithOneMessage) {
    WriteAllValid();
    Write(kSettings, kBroken);

    EXPECT_EQ(20U, MillisecondsOfRun());

    EXPECT_EQ(WithOthers({{LogProgress, L"LoadSettingsFromFile begin."},
                          ParseFailed(kSettings, -1, kBroken.size()),
                          Repaired(kSettings),
                          {LogProgress, L"LoadSettingsFromFile begin."}}),
              host.Lines());
    EXPECT_EQ(DefaultContent(kSettings), Content(kSettings));
    EXPECT_EQ(*LastWriteTime(paths[0]), times[0]);
    EXPECT_EQ(L"default", String(L"Source"));
}

TEST_F(InitialLoads, AFileThatIsCompletedWithinThe20MillisecondsIsLoaded) {
    WriteAllValid();
    Write(kSettings, kBroken);
    clock.In(19, [this] { Write(kSettings, R"({"Source":"completed"})"); });

    EXPECT_EQ(30U, MillisecondsOfRun());

    EXPECT_EQ(WithOthers({{LogProgress, L"LoadSettingsFromFile begin."}}), host.Lines());
    EXPECT_EQ(L"completed", String(L"Source"));
}

TEST_F(InitialLoads, AFileThatIsRefusedInAnotherWayEachTimeIsRefusedOnceInTheEnd) {
    WriteAllValid();
    Write(kSettings, "{");
    for (uint64_t i = 1; i < 8; ++i) {
        clock.In(i * 20, [this, i] { Write(kSettings, "{" + std::string(i, ' ')); });
    }

    Run();

    EXPECT_EQ(2, host.Count(L"LoadSettingsFromFile begin."));
    EXPECT_EQ(1, host.Count(Repaired(kSettings).text));
    EXPECT_EQ(WithOthers({{LogProgress, L"LoadSettingsFromFile begin."},
                          ParseFailed(kSettings, -1, 8),
                          Repaired(kSettings),
                          {LogProgress, L"LoadSettingsFromFile begin."}}),
              host.Lines());
}

TEST_F(InitialLoads, AHeldFileIsLoadedAsSoonAsItIsFree) {
    WriteAllValid();
    UniqueHandle held = Hold(PathOf(kSettings));
    clock.In(3000, [&] { held.reset(); });

    EXPECT_EQ(3000U, MillisecondsOfRun());

    EXPECT_EQ(WithOthers({{LogProgress, L"LoadSettingsFromFile begin."}}), host.Lines());
    EXPECT_EQ(L"user", String(L"Source"));
}

TEST_F(InitialLoads, AFileThatStaysHeldIsReplacedOnlyInTheVariables) {
    WriteAllValid();
    UniqueHandle held = Hold(PathOf(kSettings));

    EXPECT_EQ(5000U, MillisecondsOfRun());
    held.reset();

    EXPECT_EQ(WithOthers({{LogProgress, L"LoadSettingsFromFile begin."},
                          {LogProgress, L"Settings file open fail : " + paths[0]},
                          {LogProgress, L"LoadSettingsFromFile begin."}}),
              host.Lines());
    EXPECT_EQ(L"default", String(L"Source"));
    EXPECT_EQ(R"({"Source":"user"})", Content(kSettings));
    EXPECT_EQ(FileTime(), times[0]);
    EXPECT_TRUE(File(kSettings).HasOtherTime());
}

TEST_F(InitialLoads, ThreeHeldFilesAreWaitedForTogether) {
    WriteAllValid();
    const UniqueHandle held[] = {Hold(PathOf(kSettings)), Hold(PathOf(kHmdList)), Hold(PathOf(kQuality))};

    EXPECT_EQ(5000U, MillisecondsOfRun());

    const std::vector<LogLine> expected = {
        {LogProgress, L"LoadSettingsFromFile begin."},
        {LogProgress, L"Settings file open fail : " + paths[0]},
        {LogProgress, L"LoadSettingsFromFile begin."},
        {LogProgress, L"LoadHmdListFromFile begin."},
        {LogProgress, L"Hmd list file open fail : " + paths[1]},
        {LogProgress, L"LoadHmdListFromFile begin."},
        {LogProgress, L"LoadQualityFromFile begin."},
        {LogProgress, L"Quality Preset file open fail : " + paths[2]},
        {LogProgress, L"LoadQualityFromFile begin."},
    };
    EXPECT_EQ(expected, host.Lines());
    EXPECT_EQ(L"default", String(L"Source"));
}

TEST_F(InitialLoads, AHeldFileWithoutADefaultEndsWithoutEither) {
    WriteAllValid();
    fs::remove(DefaultOf(kSettings));
    UniqueHandle held = Hold(PathOf(kSettings));

    Run();

    EXPECT_EQ(WithOthers({{LogProgress, L"LoadSettingsFromFile begin."},
                          {LogProgress, L"Settings file open fail : " + paths[0]},
                          {LogProgress, L"LoadSettingsFromFile begin."},
                          {LogProgress, L"Settings file not found : " + defaultPaths[0]}}),
              host.Lines());
}

TEST_F(InitialLoads, ARefusedFileThatSomebodyWritesIsWaitedFor) {
    WriteAllValid();
    Write(kSettings, kBroken);
    UniqueHandle writer = Hold(PathOf(kSettings), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    clock.In(4000, [&] {
        writer.reset();
        Write(kSettings, R"({"Source":"late"})");
    });

    Run();

    EXPECT_EQ(L"late", String(L"Source"));
    EXPECT_EQ(WithOthers({{LogProgress, L"LoadSettingsFromFile begin."}}), host.Lines());
}

TEST_F(InitialLoads, AHeldDefaultIsWaitedFor) {
    UniqueHandle held = Hold(DefaultOf(kSettings));
    clock.In(2000, [&] { held.reset(); });

    EXPECT_EQ(2000U, MillisecondsOfRun());
    EXPECT_EQ(DefaultContent(kSettings), Content(kSettings));
}

TEST_F(InitialLoads, ADefaultThatStaysHeldIsAnError) {
    const UniqueHandle held = Hold(DefaultOf(kSettings));

    EXPECT_THROW(Run(), fs::filesystem_error);
    EXPECT_FALSE(fs::exists(PathOf(kSettings)));
}

TEST_F(InitialLoads, AMissingDefaultOfAMissingFileIsAnErrorAtOnce) {
    fs::remove(DefaultOf(kHmdList));

    EXPECT_THROW(Run(), fs::filesystem_error);

    EXPECT_EQ(std::vector<LogLine>{Provisioned(kSettings)}, host.Lines());
}

TEST_F(InitialLoads, AMissingDefaultOfARefusedFileIsAnErrorThatLeavesTheFile) {
    WriteAllValid();
    Write(kSettings, kBroken);
    fs::remove(DefaultOf(kSettings));

    EXPECT_THROW(Run(), fs::filesystem_error);

    const std::vector<LogLine> expected = {{LogProgress, L"LoadSettingsFromFile begin."},
                                           ParseFailed(kSettings, -1, kBroken.size())};
    EXPECT_EQ(expected, host.Lines());
    EXPECT_EQ(kBroken, Content(kSettings));
}

TEST_F(InitialLoads, ABrokenDefaultIsReportedAndTheRestGoesOn) {
    WriteAllValid();
    Write(kSettings, kBroken);
    WriteBytes(DefaultOf(kSettings), "broken");

    Run();

    EXPECT_EQ(WithOthers({{LogProgress, L"LoadSettingsFromFile begin."},
                          ParseFailed(kSettings, -1, kBroken.size()),
                          Repaired(kSettings),
                          {LogProgress, L"LoadSettingsFromFile begin."},
                          ParseFailed(kSettings, -1, 6)}),
              host.Lines());
}

TEST_F(InitialLoads, ADanglingLinkIsProvidedLikeAMissingFile) {
    if (!HasUnixCommands()) {
        GTEST_SKIP();
    }
    MakeLink(folders.Outside(L"nothing.json"), PathOf(kSettings));

    Run();

    EXPECT_EQ(L"default", String(L"Source"));
    EXPECT_FALSE(fs::exists(folders.Outside(L"nothing.json")));
}

TEST_F(InitialLoads, AFileWrittenAtThisMomentIsDoubted) {
    WriteAllValid();
    WriteNow(kQuality, "{}");

    Run();

    EXPECT_EQ(0U, File(kSettings).ConfirmAt());
    EXPECT_EQ(clock.Milliseconds() + 50, File(kQuality).ConfirmAt());
}

TEST_F(InitialLoads, WhatIsLoadedIsKeptWhereTheUserWantsIt) {
    WriteAllValid();
    Write(kSettings, kBroken);
    fs::create_directory(folders.DataDir() / L"kept");

    Run();

    const std::vector<std::wstring> kept = NamesIn(folders.DataDir() / L"kept");
    ASSERT_EQ(3U, kept.size());
    EXPECT_TRUE(kept[2].starts_with(kSettingsName));
    EXPECT_EQ(DefaultContent(kSettings), ReadBytes(folders.DataDir() / L"kept" / kept[2]));
}

TEST_F(InitialLoads, ASecondRunLoadsEveryFileAgain) {
    WriteAllValid();
    Run();
    host.Clear();

    Run();

    EXPECT_EQ(WithOthers({{LogProgress, L"LoadSettingsFromFile begin."}}), host.Lines());
}

} // namespace
} // namespace zq::test
