// No command changes a byte of a data folder unless it says so.
#include "tools/RunTool.h"

#include "support/win32/Folders.h"

#include <gtest/gtest.h>

#include <map>

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

INSTANTIATE_TEST_SUITE_P(EachRefusal, FolderSafety, testing::ValuesIn(kRefusals));

} // namespace
} // namespace zq::test
