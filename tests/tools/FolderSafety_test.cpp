// No command changes a byte of a data folder unless it says so.
#include "tools/RunTool.h"

#include "support/win32/Folders.h"
#include "support/win32/LongForm.h"

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <random>

namespace zq::test {
namespace {

using Snapshot = std::map<std::wstring, std::string>;

Snapshot SnapshotOf(const std::filesystem::path& folder) {
    Snapshot files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        files[entry.path().filename().wstring()] = ReadBytes(entry.path());
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

    ToolRun Run(const std::wstring& arguments) const {
        return RunTool(arguments + L" --data \"" + m_folders.CommonDataDir() + L"\" --defaults \"" +
                       m_folders.DefaultDir() + L'"');
    }

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
    Snapshot now = Now();
    EXPECT_EQ(ReadBytes(m_folders.Default(GetParam().file)), now[GetParam().file]);
    std::string kept = "none";
    for (const auto& [name, bytes] : now) {
        kept = name.starts_with(std::wstring(GetParam().file) + L".refused-") ? bytes : kept;
    }
    EXPECT_EQ(GetParam().bytes ? GetParam().bytes : "none", kept);
    EXPECT_EQ(GetParam().bytes ? 4u : 3u, now.size());
}

// What people do to a settings file.
const char* const kMistakes[] = {
    "{\"Level\":1}\n",
    "{\"Level\":1}\r\n\r\n",
    "\xEF\xBB\xBF{\"Level\":1}",
    "\xFF\xFE{\0\"\0}\0",
    "{\"Level\":1, // mine\n\"DHI\":0}",
    "# mine\n{\"Level\":1}",
    "{\"Level\":1 /* mine */}",
    "{'Level':1}",
    "{\xE2\x80\x9CLevel\xE2\x80\x9D:1}",
    "{\"Level\":\xC2\xA0"
    "1}",
    "{\"Level\":1,\xE2\x80\x8B\"DHI\":0}",
    "{\"Settings\" \"Language\":\"en\"}, \"Level\":1}",
    "{\"Settings\":{\"Language\":\"en\", \"Level\":1}",
    "{\"Level\":1}}",
    "{\"Level\":1",
    "\"Level\":1",
    "{\"Level\":70,5}",
    "{\"Level\":0x46}",
    "{\"Level\":70 Mbps}",
    "{\"Level\":007}",
    "{\"Level\":+7}",
    "{\"Level\":7e1}",
    "{\"Level\":.5}",
    "{\"Level\":True}",
    "{\"Level\":yes}",
    "{\"Level\":1,}",
    "{\"Level\":1,,\"DHI\":0}",
    "{\"Level\":1 \"DHI\":0}",
    "{Level:1}",
    "{\"Level\" 1}",
    "{\"Level\"=1}",
    "{\"Path\":\"C:\\Users\\me\"}",
    "{\"Name\":\"Caf\xC3\xA9\"}",
    "{\"Name\":\"no end}",
    "<<<<<<< HEAD\n{\"Level\":1}\n=======\n{\"Level\":2}\n>>>>>>> theirs\n",
    "[{\"Level\":1}]",
    "",
};

// None of these may change anything; the last may only change the file that it names, and only if it says so.
const wchar_t* const kCommands[] = {
    L"list",
    L"get DHI --json",
    L"list --long",
    L"diff --json",
    L"explain DHI",
    L"describe DHI",
    L"show --json",
    L"show",
    L"watch --for 0.05",
    L"restore --list",
    L"set-hmd ALPHA1 9 9 9 1",
    L"set Level 2",
};

class FolderLoop : public testing::Test {
protected:
    FolderLoop() {
        WriteBytes(m_folders.Private(kHmdListName), ReadBytes(m_folders.Default(kHmdListName)));
        WriteBytes(m_folders.Private(kQualityName), ReadBytes(m_folders.Default(kQualityName)));
    }

    void ExpectUnchanged(const std::wstring& command) {
        Snapshot before = SnapshotOf(m_folders.DataDir());

        const ToolRun run = RunTool(
            command + L" --data \"" + m_folders.CommonDataDir() + L'"' +
            (command.starts_with(L"restore") ? L"" : L" --defaults \"" + m_folders.DefaultDir() + L'"'));

        Snapshot after = SnapshotOf(m_folders.DataDir());
        EXPECT_LE(run.exitCode, 2u) << run.errors;
        if (command.starts_with(L"set Level") && run.exitCode == 0) {
            EXPECT_NE("", run.output);
            before.erase(kSettingsName);
            after.erase(kSettingsName);
        }
        EXPECT_EQ(before, after) << run.output << run.errors;
    }

    ModuleFolders m_folders;
};

TEST_F(FolderLoop, NoMistakeMakesACommandChangeTheFolder) {
    const size_t step = static_cast<size_t>(Long(1, 7)); // commands of a mistake that are left out
    size_t turn = 0;
    for (const char* mistake : kMistakes) {
        for (const wchar_t* command : kCommands) {
            if (turn++ % step == 0) {
                SCOPED_TRACE(mistake);
                WriteBytes(m_folders.Private(kSettingsName), mistake);
                ExpectUnchanged(command);
            }
        }
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

TEST_F(FolderLoop, NoMutationOfTheDefaultFilesMakesACommandChangeTheFolder) {
    const std::filesystem::path defaults = std::filesystem::path(ZQ_SOURCE_DIR) / "defaults";
    std::mt19937 random(20260102);
    const wchar_t* const names[] = {kSettingsName, kHmdListName, kQualityName};
    for (int i = 0; i < Long(1000, 24); ++i) {
        SCOPED_TRACE(i);
        for (const wchar_t* name : names) {
            WriteBytes(m_folders.Private(name), ReadBytes(defaults / name));
        }
        const wchar_t* const name = names[i % 3];
        WriteBytes(m_folders.Private(name), Mutated(ReadBytes(defaults / name), random));
        ExpectUnchanged(kCommands[static_cast<size_t>(i) % std::size(kCommands)]);
    }
}

INSTANTIATE_TEST_SUITE_P(EachRefusal, FolderSafety, testing::ValuesIn(kRefusals));

} // namespace
} // namespace zq::test
