// No command changes a byte of a data folder unless it says so.
#include "tools/RunTool.h"

#include "support/win32/Folders.h"
#include "support/win32/LongForm.h"

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

// The mistakes that people make in the files, as files.
std::vector<std::filesystem::path> Mistakes() {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(ZQ_SOURCE_DIR) / "tests" / "mistakes")) {
        if (entry.is_regular_file()) {
            paths.push_back(entry.path());
        }
    }
    return paths;
}

// "ZQ2_HmdList.tab-in-text.json" is a ZQ2_HmdList.json.
const wchar_t* PrivateNameOf(const std::filesystem::path& mistake) {
    const std::wstring name = mistake.filename().wstring();
    return name.starts_with(L"ZQ2_HmdList")         ? kHmdListName
           : name.starts_with(L"ZQ2_QualityPreset") ? kQualityName
                                                    : kSettingsName;
}

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
    L"set Settings.CurrentBitrate 71",
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

    void ExpectUnchanged(const std::wstring& command) {
        Snapshot before = SnapshotOf(m_folders.DataDir());

        const ToolRun run = RunTool(
            command + L" --data \"" + m_folders.CommonDataDir() + L'"' +
            (command.starts_with(L"restore") ? L"" : L" --defaults \"" + m_folders.DefaultDir() + L'"'));

        Snapshot after = SnapshotOf(m_folders.DataDir());
        EXPECT_LE(run.exitCode, 2u) << run.errors;
        if (command.starts_with(L"set Settings") && run.exitCode == 0) {
            EXPECT_NE("", run.output);
            before.erase(kSettingsName);
            after.erase(kSettingsName);
        }
        EXPECT_EQ(before, after) << run.output << run.errors;
    }

    ModuleFolders m_folders;
};

TEST_F(FolderLoop, NoMistakeMakesACommandChangeTheFolder) {
    const size_t step = static_cast<size_t>(Long(1, 19)); // of how many commands one is run
    const std::vector<std::filesystem::path> mistakes = Mistakes();
    EXPECT_EQ(36u, mistakes.size());
    size_t turn = 0;
    for (const std::filesystem::path& mistake : mistakes) {
        for (const wchar_t* command : kCommands) {
            if (turn++ % step == 0) {
                SCOPED_TRACE(mistake.string());
                WriteDefaults();
                WriteBytes(m_folders.Private(PrivateNameOf(mistake)), ReadBytes(mistake));
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
    std::mt19937 random(20260102);
    const wchar_t* const names[] = {kSettingsName, kHmdListName, kQualityName};
    for (int i = 0; i < Long(1000, 24); ++i) {
        SCOPED_TRACE(i);
        WriteDefaults();
        const wchar_t* const name = names[i % 3];
        WriteBytes(m_folders.Private(name), Mutated(DefaultBytes(name), random));
        ExpectUnchanged(kCommands[static_cast<size_t>(i) % std::size(kCommands)]);
    }
}

INSTANTIATE_TEST_SUITE_P(EachRefusal, FolderSafety, testing::ValuesIn(kRefusals));

} // namespace
} // namespace zq::test
