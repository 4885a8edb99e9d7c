// Everything at once, drawn at random: editors of many styles, a scanner, a second module, a second server
// and saves share one folder, the disk is full for a while, and processes are killed.
//
// ZQ_TEST_LONG in the environment runs 3,000 moments, ZQ_TEST_SEED repeats a run.
#include "support/LongForm.h"
#include "support/win32/FullDisk.h"
#include "support/win32/Waiting.h"
#include "support/win32/WatchedFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <exception>
#include <optional>
#include <random>
#include <string>

namespace zq::test {
namespace {

class MixedMoments : public WatchedFolder {
protected:
    unsigned UpTo(unsigned last) { return static_cast<unsigned>(random() % (last + 1)); }

    bool TryToEdit(int edit);
    // One editor at work on the file, with everybody else; returns the number of moments.
    int RunRound();

    std::mt19937 random{Seed()};
};

// Not by another process: what stays half-written for more than a second is replaced, and the start of one
// may take as long.
bool MixedMoments::TryToEdit(int edit) {
    try {
        WriteBytes(folders.Private(kSettingsName), "{\"Edit\":" + std::to_string(edit) + ",\"Saved\":0}");
        return true;
    } catch (const std::exception&) {
        return false; // somebody holds it
    }
}

int MixedMoments::RunRound() {
    static const wchar_t* const styles[] = {L"rewrite",   L"rename", L"pieces",   L"overlong",
                                            L"overshort", L"opens",  L"recreate", L"backup",
                                            L"mapped",    L"held",   L"locked",   L"unfinished"};
    static const int pauses[] = {0, 10, 60, 200};
    const wchar_t* const style = styles[UpTo(std::size(styles) - 1)];
    const int pause = pauses[UpTo(std::size(pauses) - 1)];
    const int edits = 1 + static_cast<int>(UpTo(pause > 20 ? 4 : 19));
    const bool isEditorKilled = UpTo(3) == 0;
    const bool isDiskFull = UpTo(3) == 0;
    SCOPED_TRACE(testing::Message() << "style " << std::string(style, style + std::wcslen(style))
                                    << ", pause " << pause << ", " << edits << " edits"
                                    << (isEditorKilled ? ", killed" : "")
                                    << (isDiskFull ? ", disk full" : ""));
    // All of them start before the edits: a module that starts replaces at once what is missing or refused.
    RecordingHost secondHost;
    Module second;
    second.Init(secondHost, folders);
    std::optional<RunningSaver> saver;
    if (UpTo(3) == 0) {
        saver.emplace([&](const std::wstring& event) { return Saver(event, L"Saved", 100, 5); });
    }
    const int moments = 2 * edits + 5;
    int lastEdit = edits;
    {
        ChildProcess editor(Editor(style, edits, pause, random()));
        ChildProcess scanner(Editor(L"scan", edits, 10, random()));
        for (int i = 0; i < 5; ++i) {
            std::optional<FullDisk> disk;
            if (isDiskFull) {
                disk.emplace(UpTo(5000));
            }
            (i % 2 == 0 ? module : second)->SaveConfigInt64(L"Saved", static_cast<int64_t>(random()), 0);
        }
        if (saver) {
            saver->Process().KillAfter(UpTo(200));
        }
        if (isEditorKilled) {
            editor.KillAfter(UpTo(200));
            EXPECT_TRUE(WaitFor([&] { return TryToEdit(1); }));
            lastEdit = 1;
        } else {
            EXPECT_EQ(0U, editor.ExitCode());
        }
        EXPECT_EQ(0U, scanner.ExitCode());
    }
    ExpectEdit(lastEdit);
    return moments;
}

TEST_F(MixedMoments, TheLastEditTakesEffectAndNoneIsReplaced) {
    const int moments = Long(3000, 200);
    std::printf("seed %u, %d moments\n", Seed(), moments);
    int done = 0;
    while (done < moments) {
        SCOPED_TRACE(testing::Message() << "after " << done << " moments");
        done += RunRound();
        ASSERT_FALSE(HasFailure());
        WriteBytes(folders.Private(kSettingsName), R"({"Edit":0,"Saved":0})");
        ExpectEdit(0);
    }
    ReportMoments("all of these mixed at random, processes killed, the disk full", "0 to 200 ms", done,
                  OutcomeOf(0));
}

} // namespace
} // namespace zq::test
