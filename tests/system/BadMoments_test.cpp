// What can happen to a configuration file while the module watches it: editors of every style, several
// processes at once, programs that hold the file, full disks and writers that die. The last complete content
// is what the variables hold, nothing complete is replaced by the default, and no mixture of two contents
// stays.
//
// ZQ_TEST_LONG in the environment runs the long forms; ZQ_TEST_SEED sets the seed of the mixed ones.
#include "support/win32/ChildProcess.h"
#include "support/win32/LongForm.h"
#include "support/win32/Module.h"
#include "support/win32/UnixCommand.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <random>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

unsigned Seed() {
    const char* const seed = std::getenv("ZQ_TEST_SEED");
    return seed ? static_cast<unsigned>(std::strtoul(seed, nullptr, 10)) : 4711;
}

class BadMoments : public testing::Test {
protected:
    void SetUp() override {
        WriteBytes(folders.Private(kSettingsName), R"({"Edit":0})");
        InitAndWatch(module, host, folders);
        host.Clear();
    }

    // A second process: see tests/editor/FileEditor.cpp.
    std::wstring Editor(const std::wstring& mode, int count, int pause, unsigned seed) const {
        return L"file_editor.exe " + mode + L" \"" + folders.Private(kSettingsName).wstring() + L"\" \"" +
               folders.Outside((L"new-" + mode + L".json").c_str()).wstring() + L"\" " +
               std::to_wstring(count) + L" " + std::to_wstring(pause) + L" " + std::to_wstring(seed);
    }

    int CountRepairs() const {
        int count = 0;
        for (const LogLine& line : host.Lines()) {
            const bool isRepair = line.text.find(L" again OK ") != std::wstring::npos ||
                                  line.text.find(L"not found copy") != std::wstring::npos;
            count += isRepair ? 1 : 0;
        }
        return count;
    }

    void ExpectEdit(int64_t edit) {
        EXPECT_TRUE(WaitFor([&] { return module.Int64(L"Edit") == edit; }))
            << "variable " << module.Int64(L"Edit").value_or(-1) << ", expected " << edit;
        const std::string file = ReadBytes(folders.Private(kSettingsName));
        EXPECT_NE(std::string::npos, file.find(std::to_string(edit))) << file.substr(0, 60);
        EXPECT_EQ(0, CountRepairs());
    }

    ModuleFolders folders;
    RecordingHost host;
    Module module;
};

struct Style {
    const wchar_t* mode;
    int shortEdits;
    int longEdits;
};

class EditStyle : public BadMoments, public testing::WithParamInterface<Style> {};

TEST_P(EditStyle, TheLastEditIsInForceAndNoneIsReplaced) {
    const Style& style = GetParam();
    const int edits = Long(style.longEdits, style.shortEdits);

    EXPECT_EQ(0U, ChildProcess(Editor(style.mode, edits, 60, Seed())).ExitCode());

    ExpectEdit(edits);
}

// 3,000 edits in the long form, 115 in the short one.
INSTANTIATE_TEST_SUITE_P(Styles, EditStyle,
                         testing::Values(Style{L"rewrite", 20, 500}, Style{L"rename", 20, 500},
                                         Style{L"pieces", 10, 300}, Style{L"overlong", 10, 300},
                                         Style{L"overshort", 10, 300}, Style{L"recreate", 15, 500},
                                         Style{L"backup", 10, 300}, Style{L"mapped", 10, 300}),
                         [](const auto& test) {
                             const std::wstring mode = test.param.mode;
                             return std::string(mode.begin(), mode.end());
                         });

// Appends within the document: the file grows by members until it is closed again.
TEST_F(BadMoments, AFileThatGrowsByAppendingIsLoadedWhenItIsComplete) {
    for (int edit = 1; edit <= Long(100, 5); ++edit) {
        const std::string content = R"({"Edit":)" + std::to_string(edit) + R"(,"More":[1,2,3]})";
        std::ofstream file(folders.Private(kSettingsName), std::ios::binary | std::ios::trunc);
        for (const char c : content) {
            file.put(c).flush();
        }
    }

    ExpectEdit(Long(100, 5));
}

TEST_F(BadMoments, TwoFilesAtOnceAreBothLoaded) {
    const int edits = Long(100, 10);
    for (int edit = 1; edit <= edits; ++edit) {
        std::ofstream settings(folders.Private(kSettingsName), std::ios::binary | std::ios::trunc);
        std::ofstream quality(folders.Private(kQualityName), std::ios::binary | std::ios::trunc);
        settings << R"({"Edit":)" << edit << std::flush;
        quality << R"({"Quality":)" << edit << std::flush;
        settings << "}" << std::flush;
        quality << "}" << std::flush;
    }

    ExpectEdit(edits);
    EXPECT_TRUE(WaitFor([&] { return module.Int64(L"Quality") == edits; }));
}

TEST_F(BadMoments, ASaveInTheMiddleOfEditsNeverLosesTheFile) {
    const int edits = Long(200, 20);
    {
        ChildProcess editor(Editor(L"rename", edits, 20, Seed()));
        for (int i = 0; i < edits; ++i) {
            module->SaveConfigInt64(L"Saved", i, 0);
        }
        EXPECT_EQ(0U, editor.ExitCode());
    }

    ExpectEdit(edits);
}

TEST_F(BadMoments, AWriterThatDiesHalfWayCostsTheDefaultAfterASecondAndNoMixture) {
    EXPECT_EQ(3U, ChildProcess(Editor(L"die", 1, 0, Seed())).ExitCode());

    EXPECT_TRUE(WaitFor([&] { return module.String(L"Source") == L"default"; }));
    EXPECT_EQ(ReadBytes(folders.Default(kSettingsName)), ReadBytes(folders.Private(kSettingsName)));
}

TEST_F(BadMoments, AHeldFileIsReadWhenItIsFreeForEachDuration) {
    for (const DWORD duration : {DWORD{5}, DWORD{50}, static_cast<DWORD>(Long(6500, 300))}) {
        const int64_t edit = 1000 + static_cast<int64_t>(duration);
        const fs::path fresh = folders.Outside(L"new.json");
        WriteBytes(fresh, R"({"Edit":)" + std::to_string(edit) + "}");
        const HANDLE scanner =
            CreateFileW(fresh.c_str(), GENERIC_READ, FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr);
        const int before = host.Reloads();
        fs::rename(fresh, folders.Private(kSettingsName));
        ASSERT_TRUE(WaitFor([&] { return host.Reloads() > before; }));
        Sleep(duration); // what another program does with the file
        EXPECT_NE(edit, module.Int64(L"Edit"));
        CloseHandle(scanner);

        ExpectEdit(edit);
    }
}

// All at once: editors of four styles take turns with a scanner, a second module and saves.
TEST_F(BadMoments, MixedAtRandomTheLastEditIsInForce) {
    const int moments = Long(3000, 300);
    std::mt19937 random(Seed());
    const wchar_t* const modes[] = {L"rewrite", L"rename", L"pieces", L"overlong", L"overshort", L"recreate"};
    std::printf("seed %u, %d moments\n", Seed(), moments);
    RecordingHost secondHost;
    for (int done = 0; done < moments;) {
        const int edits = 1 + static_cast<int>(random() % 20);
        const wchar_t* const mode = modes[random() % std::size(modes)];
        SCOPED_TRACE(testing::Message() << "after " << done << " moments");
        {
            // Before the edits: what is missing when a module starts is provided at once.
            Module second;
            second.Init(secondHost, folders);
            ChildProcess editor(Editor(mode, edits, 10, random()));
            ChildProcess scanner(Editor(L"scan", edits, 10, random()));
            done += 2 * edits + 1;
            for (int i = 0; i < 5; ++i, ++done) {
                (i % 2 == 0 ? module : second)->SaveConfigInt64(L"Saved", done, 0);
            }
            EXPECT_EQ(0U, editor.ExitCode());
            EXPECT_EQ(0U, scanner.ExitCode());
        }
        ExpectEdit(edits);
        ASSERT_FALSE(HasFailure());
        WriteBytes(folders.Private(kSettingsName), R"({"Edit":0})");
        ExpectEdit(0);
    }
}

struct Tool {
    const char* name;
    const char* command;        // run in the data folder; makes "Edit":7 of "Edit":0
    bool touchesOthers = false; // another file first, whose record hides what follows
};

class RealTool : public BadMoments, public testing::WithParamInterface<Tool> {};

TEST_P(RealTool, AnEditOnTheFolderItselfIsSeenEachOfThreeTimes) {
    if (!HasUnixCommands()) {
        GTEST_SKIP();
    }
    const std::string command = GetParam().command;
    const std::string program = command.substr(0, command.find(' '));
    if (RunUnix(folders.DataDir(), "command -v " + program) != 0) {
        GTEST_SKIP() << program << " is not installed";
    }
    const std::string before =
        GetParam().touchesOthers ? R"({"Edit":0,"FollowEveryChange":true})" : R"({"Edit":0})";
    WriteBytes(folders.Private(kSettingsName), before);
    ExpectEdit(0);
    for (int i = 0; i < 3; ++i) {
        WriteBytes(folders.CommonDataDir() + L"\\new", R"({"Edit":7})");
        ASSERT_EQ(0, RunUnix(folders.DataDir(), command));
        ExpectEdit(7);
        WriteBytes(folders.Private(kSettingsName), before);
        ExpectEdit(0);
    }
}

#define ZQ_FILE "ZQ2_serverSetting.setting"
// What follows the last bracket refuses a file, a line break too: the editors are told to add none.
INSTANTIATE_TEST_SUITE_P(
    Tools, RealTool,
    testing::Values(
        Tool{"SedInPlace", "sed -i s/0/7/ " ZQ_FILE}, Tool{"PerlInPlace", "perl -pi -e s/0/7/ " ZQ_FILE},
        Tool{"CopyOver", "cp ../new " ZQ_FILE}, Tool{"MoveOver", "mv ../new " ZQ_FILE},
        Tool{"MoveOverInTheFolder", "sh -c 'sed s/0/7/ " ZQ_FILE " > new; mv new " ZQ_FILE "'"},
        Tool{"Redirection", "cat ../new > " ZQ_FILE}, Tool{"Tee", "tee " ZQ_FILE " < ../new"},
        Tool{"Dd", "dd if=../new of=" ZQ_FILE " bs=1 conv=notrunc"},
        Tool{"Vim", "vim -Nu NONE -es -c 'set nofixeol backupcopy=yes' -c s/0/7/ -c wq " ZQ_FILE},
        Tool{"VimWithBackup",
             "vim -Nu NONE -es -c 'set nofixeol backup backupcopy=no' -c s/0/7/ -c wq " ZQ_FILE, true},
        Tool{"Install", "install -m 644 ../new " ZQ_FILE}, Tool{"Rsync", "rsync --checksum ../new " ZQ_FILE}),
    [](const auto& test) { return std::string(test.param.name); });
#undef ZQ_FILE

} // namespace
} // namespace zq::test
