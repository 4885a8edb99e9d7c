// What can happen to a configuration file while the module watches it, one kind of moment at a time, each
// with three durations: editors of every style, programs that hold the file, writers that die, full disks.
// The last complete content is what the variables hold, nothing complete is replaced by the default, and no
// mixture of two contents stays.
//
// ZQ_TEST_LONG in the environment runs the long forms.
#include "support/LongForm.h"
#include "support/win32/FullDisk.h"
#include "support/win32/HeldFile.h"
#include "support/win32/Waiting.h"
#include "support/win32/WatchedFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <thread>
#include <utility>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

// Milliseconds; the short form waits at most 300.
int Duration(int milliseconds) { return Long(milliseconds, std::min(milliseconds, 300)); }

std::string Text(int milliseconds) { return std::to_string(milliseconds) + " ms"; }

// One kind of edit by a second process.
struct Kind {
    const char* name;
    const char* moment;
    const wchar_t* style;
    std::array<int, 3> durations;
    int tries = 45; // for each duration, in the long form
};

class EditedBy : public WatchedFolder, public testing::WithParamInterface<Kind> {};

TEST_P(EditedBy, TheLastEditTakesEffectAndNoneIsReplaced) {
    const Kind& kind = GetParam();
    WriteBytes(folders.Private(kSettingsName), R"({"Edit":0,"FollowEveryChange":true})");
    ASSERT_TRUE(WaitFor([&] { return module.Bool(L"FollowEveryChange").has_value(); }));
    for (const int duration : kind.durations) {
        SCOPED_TRACE(Text(duration));
        const int tries = Long(duration > 1000 ? 3 : kind.tries, 2);
        host.Clear();

        EXPECT_EQ(0U, ChildProcess(Editor(kind.style, tries, Duration(duration))).ExitCode());

        ExpectEdit(tries);
        ReportMoments(kind.moment, Text(duration), tries, OutcomeOf(tries));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, EditedBy,
    testing::Values(
        Kind{"Rewritten", "truncated and written in one go", L"rewrite", {0, 20, 200}},
        Kind{"RenamedOver", "written elsewhere, renamed over", L"rename", {0, 20, 200}},
        Kind{"RenamedOverInTheFolder", "written beside, renamed over", L"rename-inside", {0, 20, 200}},
        Kind{"TruncatedAndWritten", "truncated, written after a pause", L"slow", {0, 60, 200}},
        Kind{"InPieces", "truncated, written in pieces", L"pieces", {0, 20, 100}},
        Kind{"OverwrittenByLonger", "overwritten in pieces, longer", L"overlong", {0, 20, 100}},
        Kind{"OverwrittenByShorter", "overwritten in pieces, shorter", L"overshort", {0, 20, 100}},
        Kind{"BySeveralOpens", "written by several opens", L"opens", {0, 60, 120}},
        Kind{"ByteByByte", "written byte by byte", L"bytes", {0, 60, 200}},
        Kind{"TwiceAtOnce", "two writes one after the other", L"twice", {0, 1, 20}},
        Kind{"DeletedAndCreated", "deleted, created again", L"recreate", {0, 40, 200}},
        Kind{"MovedAwayAndRenamed", "renamed to a backup, new file renamed in", L"backup", {0, 20, 200}},
        Kind{"Mapped", "written through a mapping", L"mapped", {0, 20, 200}},
        Kind{"RefusedFirst", "refused, then written whole", L"refused", {0, 60, 200}},
        Kind{"ZerosFirst", "full of zero bytes, then written whole", L"zeros", {0, 60, 200}},
        Kind{"HalfFirst", "half written by a program that crashes and starts again", L"half", {0, 60, 200}},
        Kind{"KeptOpenUnfinished", "kept open half written", L"unfinished", {50, 500, 5500}, 20},
        Kind{"KeptOpenComplete", "kept open after it was written", L"complete", {50, 500, 5500}, 20},
        Kind{"HeldUnshared", "held without sharing", L"held", {50, 500, 6500}, 20},
        Kind{"HeldForReading", "held by a reader", L"read", {50, 500, 6500}, 20},
        Kind{"Locked", "locked by byte range", L"locked", {50, 500, 6500}, 20},
        Kind{"ReadOnly", "made read-only for a while", L"read-only", {0, 60, 200}},
        Kind{"AFolderFirst", "a folder in its place for a while", L"folder", {0, 60, 200}},
        Kind{"AllThreeDeleted", "all three deleted, written again", L"three", {0, 60, 200}},
        Kind{"TwoFilesAtOnce", "two files written at once", L"two", {0, 60, 200}},
        Kind{"AmongOtherFiles",
             "among writes of other files, with `FollowEveryChange`",
             L"others",
             {0, 20, 60}}),
    [](const auto& test) { return std::string(test.param.name); });

class BadMoments : public WatchedFolder {};

TEST_F(BadMoments, AScannerInTheMiddleOfEditsLosesNothing) {
    for (const int duration : {5, 20, 60}) {
        const int tries = Long(100, 3);
        host.Clear();
        {
            ChildProcess scanner(Editor(L"scan", tries, duration));
            EXPECT_EQ(0U, ChildProcess(Editor(L"rename", tries, duration)).ExitCode());
        }

        ExpectEdit(tries);
        ReportMoments("scanned among edits", Text(duration), tries, OutcomeOf(tries));
    }
}

TEST_F(BadMoments, SavesOfTheModuleInTheMiddleOfEditsLoseNothing) {
    for (const int duration : {0, 5, 20}) {
        const int tries = Long(100, 10);
        host.Clear();
        {
            ChildProcess editor(Editor(L"rename", tries, duration));
            for (int i = 0; i < tries; ++i) {
                module->SaveConfigInt64(L"Saved", i, 0);
            }
            EXPECT_EQ(0U, editor.ExitCode());
        }

        ExpectEdit(tries);
        ReportMoments("saved by the module among edits", Text(duration), tries, OutcomeOf(tries));
    }
}

TEST_F(BadMoments, SavesOfASecondServerInTheMiddleOfEditsLoseNothing) {
    for (const int duration : {0, 5, 20}) {
        const int tries = Long(100, 10);
        host.Clear();
        {
            RunningSaver saver(
                [&](const std::wstring& event) { return Saver(event, L"Saved", tries, duration); });
            EXPECT_EQ(0U, ChildProcess(Editor(L"rename", tries, duration)).ExitCode());
            EXPECT_EQ(0U, saver.Process().ExitCode());
        }

        ExpectEdit(tries);
        ReportMoments("saved by a second server among edits", Text(duration), tries, OutcomeOf(tries));
    }
}

TEST_F(BadMoments, TwoServersThatSaveAtOnceLoseNoValue) {
    for (const int duration : {0, 1, 5}) {
        const int tries = Long(300, 20);
        WriteBytes(folders.Private(kSettingsName), R"({"Edit":0,"First":0,"Second":0})");
        ASSERT_TRUE(WaitFor([&] { return module.Int64(L"Second") == 0; }));
        host.Clear();
        {
            RunningSaver first(
                [&](const std::wstring& event) { return Saver(event, L"First", tries, duration); });
            RunningSaver second(
                [&](const std::wstring& event) { return Saver(event, L"Second", tries, duration); });
            EXPECT_EQ(0U, first.Process().ExitCode());
            EXPECT_EQ(0U, second.Process().ExitCode());
        }

        EXPECT_TRUE(WaitFor([&] { return module.Int64(L"First") == 1000 + tries; }));
        EXPECT_TRUE(WaitFor([&] { return module.Int64(L"Second") == 1000 + tries; }));
        ExpectEdit(0);
        ReportMoments("saved by two servers at once", Text(duration), 2 * tries, OutcomeOf(0));
    }
}

TEST_F(BadMoments, AServerThatIsKilledWhileItSavesLeavesACompleteFile) {
    for (const int duration : {5, 20, 60}) {
        const int tries = Long(50, 2);
        for (int i = 1; i <= tries; ++i) {
            WriteBytes(folders.Private(kSettingsName), R"({"Edit":)" + std::to_string(i) + R"(,"Saved":0})");
            ExpectEdit(i);
            RunningSaver saver([&](const std::wstring& event) { return Saver(event, L"Saved", 100'000, 0); });
            saver.Process().KillAfter(static_cast<DWORD>(duration));
        }
        const std::string saved = ReadBytes(folders.Private(kSettingsName));
        EXPECT_TRUE(saved.starts_with("{") && saved.ends_with("}")) << saved;
        ExpectEdit(tries);
        ReportMoments("a server killed while it saves", "after " + Text(duration), tries, OutcomeOf(tries));
    }
}

TEST_F(BadMoments, AnEditorThatIsKilledAndStartedAgainLosesNothing) {
    for (const int duration : {5, 20, 60}) {
        const int tries = Long(50, 2);
        for (int i = 0; i < tries; ++i) {
            ChildProcess(Editor(L"pieces", 1000, 5, Seed() + static_cast<unsigned>(i)))
                .KillAfter(static_cast<DWORD>(duration));
            EXPECT_EQ(0U, ChildProcess(Editor(L"rewrite", 1, 0)).ExitCode());
        }
        ExpectEdit(1);
        ReportMoments("an editor killed and started again", "after " + Text(duration), tries, OutcomeOf(1));
    }
}

TEST_F(BadMoments, AWriterThatDiesHalfWayCostsTheDefaultAfterASecondAndNoMixture) {
    EXPECT_EQ(3U, ChildProcess(Editor(L"die", 1, 0)).ExitCode());

    EXPECT_TRUE(WaitFor([&] { return module.String(L"Source") == L"default"; }));
    EXPECT_EQ(ReadBytes(folders.Default(kSettingsName)), ReadBytes(folders.Private(kSettingsName)));
}

// A file that is replaced after all is in "rejected".
TEST_F(BadMoments, AFileThatStaysRefusedIsMovedToTheUsersFolder) {
    fs::create_directory(folders.DataDir() / L"rejected");
    for (const int duration : {800, 1500, 3000}) {
        const std::string mine = R"({"Mine":)" + std::to_string(duration) + "}}";
        host.Clear();

        WriteBytes(folders.Private(kSettingsName), mine);

        ASSERT_TRUE(WaitFor([&] { return CountRepairs() == 1; })) << LastMessages();
        int found = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator(folders.DataDir() / L"rejected")) {
            found += ReadBytes(entry.path()) == mine ? 1 : 0;
        }
        EXPECT_EQ(1, found);
        ReportMoments("refused for good, with a folder `rejected`", "content " + std::to_string(duration), 1,
                      {1 - found, 0});
    }
}

// Another program holds the settings file open for some time.
std::thread HoldFor(const fs::path& file, DWORD share, int milliseconds) {
    auto held = std::make_unique<HeldFile>(file, share);
    return std::thread([held = std::move(held), milliseconds]() mutable {
        Sleep(static_cast<DWORD>(milliseconds));
        held.reset();
    });
}

// A server starts while another program holds the file for some time.
TEST_F(BadMoments, AServerThatStartsWaitsForAHeldFile) {
    for (const int duration : {100, 1000, 4000}) {
        const int tries = Long(5, 1);
        WriteBytes(folders.Private(kSettingsName), R"({"Edit":3})");
        ExpectEdit(3);
        for (int i = 0; i < tries; ++i) {
            std::thread other = HoldFor(folders.Private(kSettingsName), 0, Duration(duration));
            RecordingHost secondHost;
            Module second;

            second.Init(secondHost, folders);

            other.join();
            EXPECT_EQ(3, second.Int64(L"Edit"));
        }
        ReportMoments("held while a server starts", Text(duration), tries, OutcomeOf(3));
    }
}

TEST_F(BadMoments, ASaveOnAFullDiskLeavesTheOldContent) {
    const std::string content = R"({"Edit":1,"Saved":"short","Padding":")" + std::string(4000, 'x') + "\"}";
    for (const DWORD room : {0U, 100U, 4000U}) {
        const int tries = Long(50, 2);
        for (int i = 0; i < tries; ++i) {
            WriteBytes(folders.Private(kSettingsName), content);
            ExpectEdit(1);
            const FullDisk disk(room);

            module->SaveConfigString(L"Saved", std::string(8000, 'y').c_str(), 0);

            EXPECT_EQ(content, ReadBytes(folders.Private(kSettingsName)));
        }
        ReportMoments("saved on a full disk", "after " + std::to_string(room) + " bytes", tries,
                      OutcomeOf(1));
    }
}

// Another program has the file open for some time while the module saves.
TEST_F(BadMoments, ASaveWaitsHalfASecondForAFileThatIsHeld) {
    for (const int duration : {20, 100, 350}) {
        const int tries = Long(20, 1);
        WriteBytes(folders.Private(kSettingsName), R"({"Edit":2,"Saved":0})");
        ExpectEdit(2);
        for (int i = 1; i <= tries; ++i) {
            std::thread other = HoldFor(folders.Private(kSettingsName), FILE_SHARE_READ, duration);

            module->SaveConfigInt64(L"Saved", i, 0);

            other.join();
            EXPECT_TRUE(WaitFor([&] { return module.Int64(L"Saved") == i; }));
        }
        ReportMoments("held while the module saves", Text(duration), tries, OutcomeOf(2));
    }
}

TEST_F(BadMoments, AStopInTheMiddleOfEditsLosesNothing) {
    for (const int duration : {0, 5, 20}) {
        const int tries = Long(20, 2);
        for (int i = 1; i <= tries; ++i) {
            RecordingHost secondHost;
            Module second;
            InitAndWatch(second, secondHost, folders);
            ChildProcess editor(Editor(L"rename", 10, duration, Seed() + static_cast<unsigned>(i)));
            second.Destroy();
            EXPECT_EQ(0U, editor.ExitCode());
            ExpectEdit(10);
        }
        ReportMoments("a server stopped among edits", Text(duration), 10 * tries, OutcomeOf(10));
    }
}

} // namespace
} // namespace zq::test
