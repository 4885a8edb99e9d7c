// What happens to a refused file if the data folder has a sub-folder for it.
#include "support/win32/ImportPatch.h"
#include "support/win32/Module.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void InitWithBrokenSettings(const ModuleFolders& folders, const std::string& bytes = "broken") {
    WriteBytes(folders.Private(kSettingsName), bytes);
    RecordingHost host;
    Module module;
    module.Init(host, folders);
    EXPECT_EQ(L"default", module.String(L"Source"));
}

TEST(RejectedFolder, IsNotCreatedIfAbsent) {
    ModuleFolders folders;

    InitWithBrokenSettings(folders);

    EXPECT_FALSE(fs::exists(folders.DataDir() / L"rejected"));
}

TEST(RejectedFolder, KeepsTheRefusedFileUnderItsTimeIfPresent) {
    ModuleFolders folders;
    fs::create_directory(folders.DataDir() / L"rejected");

    InitWithBrokenSettings(folders, "somebody's work");

    const std::vector<fs::path> files = FilesIn(folders.DataDir() / L"rejected");
    ASSERT_EQ(1U, files.size());
    EXPECT_EQ("somebody's work", ReadBytes(files[0]));
    const std::wstring name = files[0].filename().wstring();
    EXPECT_EQ(std::wstring(kSettingsName) + L".", name.substr(0, 26));
    EXPECT_EQ(std::wstring(L"00000000T000000.000Z").size(), name.size() - 26);
}

TEST(RejectedFolder, KeepsOnlyTheNewestTen) {
    ModuleFolders folders;
    fs::create_directory(folders.DataDir() / L"rejected");
    WriteBytes(folders.DataDir() / L"rejected" / L"notes.txt", "stays");

    for (int i = 0; i < 13; ++i) {
        InitWithBrokenSettings(folders, "broken " + std::to_string(i));
    }

    std::vector<fs::path> files = FilesIn(folders.DataDir() / L"rejected");
    EXPECT_EQ("stays", ReadBytes(folders.DataDir() / L"rejected" / L"notes.txt"));
    std::erase_if(files, [](const fs::path& file) { return file.filename() == L"notes.txt"; });
    ASSERT_EQ(10U, files.size());
    EXPECT_EQ("broken 3", ReadBytes(files.front()));
    EXPECT_EQ("broken 12", ReadBytes(files.back()));
}

BOOL WINAPI RefuseMoveToRejected(LPCWSTR from, LPCWSTR to, DWORD flags) {
    if (std::wstring(to).find(L"rejected") == std::wstring::npos) {
        return MoveFileExW(from, to, flags);
    }
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST(RejectedFolder, CountsAsAbsentIfNotWritable) {
    const ImportPatch patch(LoadModuleDll(), "kernel32.dll", "MoveFileExW", AsProc(RefuseMoveToRejected));
    ModuleFolders folders;
    fs::create_directory(folders.DataDir() / L"rejected");

    InitWithBrokenSettings(folders);

    EXPECT_TRUE(FilesIn(folders.DataDir() / L"rejected").empty());
}

TEST(RejectedFolder, FilesOfOtherFormsAndFoldersAreNeitherCountedNorRemoved) {
    ModuleFolders folders;
    const fs::path rejected = folders.DataDir() / L"rejected";
    const std::wstring prefix = std::wstring(kSettingsName) + L".";
    fs::create_directory(rejected);
    const std::vector<std::wstring> foreign = {L"old", L"zzz", L"20260102T030405.678Z.bak",
                                               L"20260102T030405.678", L"2026-01-02T030405.678Z"};
    for (const std::wstring& name : foreign) {
        WriteBytes(rejected / (prefix + name), "foreign");
    }
    fs::create_directory(rejected / (prefix + L"19990102T030405.678Z"));

    for (int i = 0; i < 12; ++i) {
        InitWithBrokenSettings(folders, "broken " + std::to_string(i));
    }

    for (const std::wstring& name : foreign) {
        EXPECT_EQ("foreign", ReadBytes(rejected / (prefix + name)));
    }
    EXPECT_TRUE(fs::is_directory(rejected / (prefix + L"19990102T030405.678Z")));
    EXPECT_EQ(foreign.size() + 1 + 10, FilesIn(rejected).size());
}

TEST(RejectedFolder, AFileOfThatNameIsNotAFolder) {
    ModuleFolders folders;
    WriteBytes(folders.DataDir() / L"rejected", "a file");

    InitWithBrokenSettings(folders);

    EXPECT_EQ("a file", ReadBytes(folders.DataDir() / L"rejected"));
}

} // namespace
} // namespace zq::test
