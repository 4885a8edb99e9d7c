// The editors and copying tools of the system that Wine runs on, at work in the data folder itself.
#include "support/win32/UnixCommand.h"
#include "support/win32/Waiting.h"
#include "support/win32/WatchedFolder.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

struct Tool {
    const char* name;
    const char* command;        // run in the data folder; makes "Edit":7 of "Edit":0
    bool touchesOthers = false; // another file first, whose record may hide what arrives with it
};

class RealTool : public WatchedFolder, public testing::WithParamInterface<Tool> {};

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
    ReportMoments("edited by " + program, "as it is", 3, OutcomeOf(0));
}

#define ZQ_FILE "ZQ2_serverSetting.setting"
// Anything after the last bracket makes the module refuse a file, even a line break, so the editors are set
// to add none.
INSTANTIATE_TEST_SUITE_P(
    Tools, RealTool,
    testing::Values(
        Tool{"SedInPlace", "sed -i s/0/7/ " ZQ_FILE, true},
        Tool{"PerlInPlace", "perl -pi -e s/0/7/ " ZQ_FILE, true}, Tool{"CopyOver", "cp ../new " ZQ_FILE},
        Tool{"MoveOver", "mv ../new " ZQ_FILE},
        Tool{"MoveOverInTheFolder", "sh -c 'sed s/0/7/ " ZQ_FILE " > new; mv new " ZQ_FILE "'", true},
        Tool{"Redirection", "cat ../new > " ZQ_FILE}, Tool{"Tee", "tee " ZQ_FILE " < ../new"},
        Tool{"Dd", "dd if=../new of=" ZQ_FILE " bs=1 conv=notrunc"},
        Tool{"Vim", "vi -Nu NONE -es -c 'set nofixeol backupcopy=yes' -c s/0/7/ -c wq " ZQ_FILE, true},
        Tool{"VimWithBackup",
             "vi -Nu NONE -es -c 'set nofixeol backup backupcopy=no' -c s/0/7/ -c wq " ZQ_FILE, true},
        Tool{"Install", "install -m 644 ../new " ZQ_FILE},
        Tool{"Rsync", "rsync --checksum ../new " ZQ_FILE, true}),
    [](const auto& test) { return std::string(test.param.name); });
#undef ZQ_FILE

} // namespace
} // namespace zq::test
