// No command changes a byte of a data folder unless it says so.
#include "tools/FolderOptions.h"
#include "tools/RunCommand.h"
#include "tools/RunTool.h"

#include "support/LongForm.h"
#include "support/Mistakes.h"
#include "support/win32/Folders.h"

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <random>
#include <vector>

namespace zq::test {
namespace {

using Snapshot = std::map<std::wstring, std::string>;

Snapshot SnapshotOf(const std::filesystem::path& folder) {
    Snapshot files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        files[entry.path().lexically_relative(folder).wstring()] =
            entry.is_directory() ? "a folder" : ReadBytes(entry.path());
    }
    return files;
}

struct Refusal {
    const char* kind;
    const wchar_t* file;
    const char* bytes; // null for a missing file
};

// The module replaces each of these by the default.
const Refusal kRefusals[] = {
    {"a line break after the end", kSettingsName, "{\"Level\":1}\n"},
    {"a comment", kSettingsName, "{\"Level\":1 // mine\n}"},
    {"an unclosed object", kSettingsName, "{\"Level\":1"},
    {"a byte order mark", kSettingsName, "\xEF\xBB\xBF{\"Level\":1}"},
    {"UTF-8 on a machine that takes bytes", kSettingsName, "{\"Name\":\"\xE6\x97\xA5\xE6\x9C\xAC\"}\n"},
    {"zero bytes", kSettingsName, ""},
    {"a missing file", kSettingsName, nullptr},
    {"a headset list that is an object", kHmdListName, "{}"},
    {"a missing headset list", kHmdListName, nullptr},
    {"presets with a merge marker", kQualityName, "<<<<<<< HEAD\n{}\n=======\n{}\n>>>>>>> other\n"},
    {"missing presets", kQualityName, nullptr},
};

class FolderSafety : public testing::TestWithParam<Refusal> {
protected:
    FolderSafety() {
        WriteBytes(m_folders.Private(kSettingsName), R"({"Level":1,"DHI":0})");
        WriteBytes(m_folders.Private(kHmdListName), ReadBytes(m_folders.Default(kHmdListName)));
        WriteBytes(m_folders.Private(kQualityName), ReadBytes(m_folders.Default(kQualityName)));
        const std::filesystem::path file = m_folders.Private(GetParam().file);
        std::filesystem::remove(file);
        if (GetParam().bytes) {
            WriteBytes(file, GetParam().bytes);
        }
        m_before = SnapshotOf(m_folders.DataDir());
    }

    ToolRun Run(const std::wstring& arguments) const { return RunTool(arguments + FolderOptions(m_folders)); }

    Snapshot Now() const { return SnapshotOf(m_folders.DataDir()); }

    ModuleFolders m_folders;
    Snapshot m_before;
};

TEST_P(FolderSafety, CommandsThatWorkOnTheFolderRefuseToStart) {
    for (const wchar_t* command : {L"set Level 2", L"set-hmd ALPHA1 1 2 0 11", L"show", L"watch --for 0.1"}) {
        const ToolRun run = Run(command);

        EXPECT_EQ(1u, run.exitCode) << run.errors;
        EXPECT_EQ("", run.output);
        EXPECT_NE(std::string::npos, run.errors.find("zqsettings: nothing was changed: ")) << run.errors;
        EXPECT_EQ(m_before, Now());
    }
}

TEST_P(FolderSafety, CommandsThatLookReadTheDefaultInstead) {
    for (const wchar_t* command : {L"list", L"get DHI", L"diff", L"explain DHI"}) {
        const ToolRun run = Run(command);

        EXPECT_NE(std::string::npos,
                  run.errors.find(", so that the default file is read instead; ") +
                      run.errors.find(" does not exist; the default file is read instead") + 1)
            << run.errors;
        EXPECT_EQ(m_before, Now());
    }
}

TEST_P(FolderSafety, ReplacingKeepsTheRefusedFile) {
    const ToolRun run = Run(L"watch --for 0.1 --replace-refused --provision");

    EXPECT_EQ(0u, run.exitCode) << run.errors;
    const std::string file = m_folders.Private(GetParam().file).string();
    const std::string note = "zqsettings: note: " + file +
                             (GetParam().bytes ? " was refused and is a copy of the default file now; the "
                                                 "refused file is kept as " +
                                                     file + ".refused-"
                                               : " did not exist; it is a copy of the default file now.\n");
    EXPECT_TRUE(run.errors.starts_with(note)) << run.errors;
    Snapshot now = Now();
    EXPECT_EQ(ReadBytes(m_folders.Default(GetParam().file)), now[GetParam().file]);
    std::string kept = "none";
    for (const auto& [name, bytes] : now) {
        kept = name.starts_with(std::wstring(GetParam().file) + L".refused-") ? bytes : kept;
    }
    EXPECT_EQ(GetParam().bytes ? GetParam().bytes : "none", kept);
    EXPECT_EQ(GetParam().bytes ? 4u : 3u, now.size());
}

// A command, and what it prints where it changes the folder: null for one that changes nothing, and "" for
// one that names each file that it writes.
struct LoopCommand {
    const wchar_t* line;
    const char* said;
    const wchar_t* only = nullptr; // the file that it may change
};

const LoopCommand kCommands[] = {
    {L"check", nullptr},
    {L"check --strict --all --json", nullptr},
    {L"check --fix", ""},
    {L"check --in-place", ""},
    {L"list", nullptr},
    {L"list --long --json", nullptr},
    {L"get DHI --json", nullptr},
    {L"get *", nullptr},
    {L"diff --json", nullptr},
    {L"diff --exit-code", nullptr},
    {L"explain * --json", nullptr},
    {L"explain DHI", nullptr},
    {L"describe DHI", nullptr},
    {L"show --json", nullptr},
    {L"show", nullptr},
    {L"watch --for 0.01", nullptr},
    {L"watch --for 0.01 --json", nullptr},
    {L"serve --for 0.01", nullptr},
    {L"serve --for 0.01 --look", nullptr},
    {L"restore --list", nullptr},
    {L"restore ZQ2_HmdList.json.20260102T030405.678Z", nullptr},
    {L"set-hmd MERIN5 1 2 0 91 92", "MERIN5", kHmdListName},
    {L"set Settings.CurrentBitrate 71", "Settings.CurrentBitrate", kSettingsName},
    {L"set CL.MERIN5.Bitrate 71 --device", "CL.MERIN5.Bitrate", kSettingsName},
};

class FolderLoop : public testing::Test {
protected:
    static std::string DefaultBytes(const wchar_t* name) {
        return ReadBytes(std::filesystem::path(ZQ_SOURCE_DIR) / "defaults" / name);
    }

    void WriteDefaults() const {
        for (const wchar_t* name : {kSettingsName, kHmdListName, kQualityName}) {
            WriteBytes(m_folders.Private(name), DefaultBytes(name));
        }
    }

    std::wstring LineOf(const LoopCommand& command) const {
        const std::wstring line = command.line;
        if (line.starts_with(L"check")) {
            return line + L" \"" + m_folders.DataDir().wstring() + L'"' + DefaultsOption(m_folders);
        }
        return line + (line.starts_with(L"restore") ? DataOption(m_folders) : FolderOptions(m_folders));
    }

    using RunLine = ToolRun (*)(const std::wstring& arguments);

    void ExpectNothingChangedUnsaid(RunLine runLine, const LoopCommand& command) {
        SCOPED_TRACE(command.line);
        const Snapshot before = SnapshotOf(m_folders.DataDir());

        ToolRun run{};
        try {
            run = runLine(LineOf(command));
        } catch (const std::exception& error) {
            ADD_FAILURE() << error.what(); // and on with the other commands
        }

        EXPECT_LE(run.exitCode, 2u) << run.errors;
        for (const std::wstring& name : ChangedNames(before, SnapshotOf(m_folders.DataDir()))) {
            ASSERT_NE(nullptr, command.said) << run.output << run.errors;
            const std::string said = *command.said ? command.said : std::string(name.begin(), name.end());
            EXPECT_NE(std::string::npos, run.output.find(said)) << run.output << run.errors;
            EXPECT_TRUE(!command.only || name == command.only) << run.output << run.errors;
            ++m_changes;
        }
    }

    static std::vector<std::wstring> ChangedNames(const Snapshot& before, const Snapshot& after) {
        std::vector<std::wstring> names;
        for (const auto& [name, bytes] : before) {
            if (!after.contains(name) || after.at(name) != bytes) {
                names.push_back(name);
            }
        }
        for (const auto& [name, bytes] : after) {
            if (!before.contains(name)) {
                names.push_back(name);
            }
        }
        return names;
    }

    // Every `step`th of all that are asked for.
    void RunCommands(RunLine runLine, const std::filesystem::path& name, const std::string& bytes, int step) {
        for (const LoopCommand& command : kCommands) {
            if (m_turn++ % step == 0) {
                Clear();
                WriteDefaults();
                WriteBytes(m_folders.DataDir() / name, bytes);
                ExpectNothingChangedUnsaid(runLine, command);
            }
        }
    }

    void Clear() const {
        for (const auto& entry : std::filesystem::directory_iterator(m_folders.DataDir())) {
            std::filesystem::remove_all(entry.path());
        }
    }

    ModuleFolders m_folders;
    int m_turn = 0;
    size_t m_changes = 0; // that were said
};

TEST_F(FolderLoop, NoMistakeMakesACommandChangeTheFolder) {
    const std::vector<std::filesystem::path> mistakes = Mistakes();
    EXPECT_EQ(36u, mistakes.size());
    for (const std::filesystem::path& mistake : mistakes) {
        SCOPED_TRACE(mistake.string());
        RunCommands(RunTool, RealName(mistake), ReadBytes(mistake), Long(1, 61));
    }
}

// One byte of a default file taken away, put in, changed, or everything after it cut off.
std::string Mutated(std::string text, std::mt19937& random) {
    const size_t offset = random() % text.size();
    const char byte = "{}[],:\"\\\n 0\xE9"[random() % 12];
    switch (random() % 4) {
    case 0:
        return text.erase(offset, 1);
    case 1:
        return text.insert(offset, 1, byte);
    case 2:
        text[offset] = byte;
        return text;
    default:
        return text.substr(0, offset);
    }
}

// In the test's own process: the start of one costs more than what most commands do.
TEST_F(FolderLoop, NoMutationMakesACommandChangeTheFolder) {
    std::mt19937 random(20260102);
    const wchar_t* const names[] = {kSettingsName, kHmdListName, kQualityName};
    for (int i = 0; i < Long(1000, 200); ++i) {
        SCOPED_TRACE(i);
        const wchar_t* const name = names[i % 3];
        RunCommands(RunCommand, name, Mutated(DefaultBytes(name), random), Long(1, 97));
    }
}

// Or the loops above would compare nothing.
TEST_F(FolderLoop, SeesWhatACommandChanges) {
    for (const LoopCommand& command : kCommands) {
        for (const RunLine runLine : {RunTool, RunCommand}) {
            if (command.only) {
                m_changes = 0;
                Clear();
                WriteDefaults();
                ExpectNothingChangedUnsaid(runLine, command);
                EXPECT_EQ(1u, m_changes) << command.line;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EachRefusal, FolderSafety, testing::ValuesIn(kRefusals));

} // namespace
} // namespace zq::test
