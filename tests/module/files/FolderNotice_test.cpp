#include "module/files/FolderNotice.h"

#include "support/win32/Folders.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include <windows.h>

namespace zq::test {
namespace {

constexpr DWORD kAdded = FILE_ACTION_ADDED;
constexpr DWORD kRemoved = FILE_ACTION_REMOVED;
constexpr DWORD kModified = FILE_ACTION_MODIFIED;
constexpr DWORD kOldName = FILE_ACTION_RENAMED_OLD_NAME;
constexpr DWORD kNewName = FILE_ACTION_RENAMED_NEW_NAME;

constexpr const wchar_t* kTemporary = L"ZQ2_serverSetting.setting.0123456789abcdef.zqtmp";

struct FolderEvent {
    DWORD action;
    std::wstring name;
};

// Windows begins each record on a boundary of four bytes, Wine where the previous record ends.
constexpr size_t kWindowsAlignment = 4;
constexpr size_t kWineAlignment = 2;

// The buffer as the system fills it, the last record without a next.
std::vector<std::byte> Buffer(const std::vector<FolderEvent>& notices, size_t alignment = kWindowsAlignment) {
    constexpr size_t kNameOffset = offsetof(FILE_NOTIFY_INFORMATION, FileName);
    std::vector<std::byte> buffer;
    for (size_t i = 0; i < notices.size(); ++i) {
        const size_t nameBytes = notices[i].name.size() * sizeof(wchar_t);
        const size_t recordBytes = (kNameOffset + nameBytes + alignment - 1) / alignment * alignment;
        FILE_NOTIFY_INFORMATION header{};
        header.NextEntryOffset = i + 1 == notices.size() ? 0 : static_cast<DWORD>(recordBytes);
        header.Action = notices[i].action;
        header.FileNameLength = static_cast<DWORD>(nameBytes);
        const size_t begin = buffer.size();
        buffer.resize(begin + (i + 1 == notices.size() ? kNameOffset + nameBytes : recordBytes));
        std::memcpy(buffer.data() + begin, &header, kNameOffset);
        std::memcpy(buffer.data() + begin + kNameOffset, notices[i].name.data(), nameBytes);
    }
    return buffer;
}

bool IsAbout(const std::vector<FolderEvent>& notices) {
    const bool isAbout = IsAboutConfigFile(Buffer(notices));
    EXPECT_EQ(isAbout, IsAboutConfigFile(Buffer(notices, kWineAlignment)));
    return isAbout;
}

TEST(FolderNotice, AnyActionOnAnyOfTheThreeCountsInAnyLetterCase) {
    for (const wchar_t* name :
         {kSettingsName, kHmdListName, kQualityName, L"zq2_hmdlist.JSON", L"ZQ2_SERVERSETTING.SETTING"}) {
        EXPECT_TRUE(IsConfigFileName(name));
        for (const DWORD action : {kAdded, kRemoved, kModified, kOldName, kNewName}) {
            EXPECT_TRUE(IsAbout({{action, name}}));
        }
    }
}

TEST(FolderNotice, OtherNamesDoNotCount) {
    for (const wchar_t* name : {L"", L"ZQ2_HmdList", L"ZQ2_HmdList.json~", L"xZQ2_HmdList.json",
                                L"ZQ2_HmdList.json.bak", L"ZQ2_HmdList.jso\u0149"}) {
        EXPECT_FALSE(IsConfigFileName(name));
        EXPECT_FALSE(IsAbout({{kModified, name}}));
    }
}

TEST(FolderNotice, AnEmptyBufferIsAboutNoFile) { EXPECT_FALSE(IsAboutConfigFile({})); }

TEST(FolderNotice, ARenameOverTheFileCountsAsWindowsReportsIt) {
    EXPECT_TRUE(IsAbout({{kRemoved, kSettingsName}, {kOldName, L"new.tmp"}, {kNewName, kSettingsName}}));
}

TEST(FolderNotice, ARenameOverTheFileCountsAsWineReportsIt) {
    EXPECT_TRUE(IsAbout({{kOldName, L"new.tmp"}, {kNewName, kSettingsName}}));
}

TEST(FolderNotice, ATemporaryFileWrittenAndRenamedCounts) {
    EXPECT_TRUE(IsAbout({{kAdded, L"new.tmp"},
                         {kModified, L"new.tmp"},
                         {kModified, L"new.tmp"},
                         {kRemoved, kHmdListName},
                         {kOldName, L"new.tmp"},
                         {kNewName, kHmdListName},
                         {kModified, kHmdListName}}));
    EXPECT_TRUE(IsAbout({{kModified, L"new.tmp"}, {kOldName, L"NEW.TMP"}, {kNewName, L"zq2_hmdlist.json"}}));
}

TEST(FolderNotice, ARenameInTwoStepsIsFollowed) {
    EXPECT_TRUE(IsAbout({{kAdded, L"a"},
                         {kOldName, L"a"},
                         {kNewName, L"b"},
                         {kModified, L"b"},
                         {kOldName, L"b"},
                         {kNewName, kQualityName}}));
}

TEST(FolderNotice, AFileThatIsRenamedAwayCounts) {
    EXPECT_TRUE(IsAbout({{kOldName, kSettingsName}, {kNewName, L"ZQ2_serverSetting.setting~"}}));
}

TEST(FolderNotice, ARenameThatEndsElsewhereDoesNotCount) {
    EXPECT_FALSE(IsAbout({{kAdded, L"new.tmp"}, {kOldName, L"new.tmp"}, {kNewName, L"other.json"}}));
    EXPECT_FALSE(IsAbout({{kOldName, L"a"}, {kNewName, L"b"}, {kOldName, L"b"}, {kNewName, L"c"}}));
}

TEST(FolderNotice, ARenameOfAnotherFileAfterAForeignRecordStaysHidden) {
    EXPECT_FALSE(IsAbout({{kModified, L"host.log"}, {kOldName, L"new.tmp"}, {kNewName, kSettingsName}}));
    EXPECT_FALSE(IsAbout({{kModified, L"host.log"}, {kModified, kSettingsName}}));
    EXPECT_FALSE(IsAbout({{kAdded, L"new.tmp"},
                          {kOldName, L"other.tmp"},
                          {kNewName, kSettingsName},
                          {kModified, L"new.tmp"}}));
}

TEST(FolderNotice, ANewNameWithoutItsOldOneIsNotFollowed) {
    EXPECT_FALSE(IsAbout({{kAdded, L"new.tmp"}, {kNewName, kSettingsName}}));
    EXPECT_FALSE(IsAbout({{kAdded, L"a"}, {kOldName, L"a"}, {kOldName, L"b"}, {kNewName, kSettingsName}}));
}

TEST(FolderNotice, TheModulesOwnFilesAndFoldersAreSkipped) {
    for (const wchar_t* own : {kTemporary, L"rejected", L"kept", L"Rejected", L"KEPT"}) {
        EXPECT_FALSE(IsAbout({{kModified, own}}));
        EXPECT_TRUE(IsAbout({{kAdded, own}, {kModified, own}, {kModified, kQualityName}}));
        EXPECT_FALSE(IsAbout({{kModified, own}, {kModified, L"host.log"}, {kModified, kQualityName}}));
    }
}

TEST(FolderNotice, TheModulesOwnReplacementCountsByItsLastRecord) {
    // The old name is skipped; the new one is the first that counts.
    EXPECT_TRUE(IsAbout({{kAdded, kTemporary}, {kOldName, kTemporary}, {kNewName, kSettingsName}}));
}

TEST(FolderNotice, NamesThatOnlyLookLikeTheModulesOwnAreForeign) {
    for (const wchar_t* name :
         {L"a.0123456789abcde.zqtmp", L"a.0123456789abcdeg.zqtmp", L"a.0123456789ABCDEF.zqtmp",
          L".0123456789abcdef.zqtmp", L"a-0123456789abcdef.zqtmp", L"a.0123456789abcdef.zqtmp2", L".zqtmp",
          L"rejected2", L"kept\\a"}) {
        EXPECT_FALSE(IsAbout({{kAdded, name}, {kModified, kQualityName}}));
    }
}

// A buffer that the system would never return: nothing outside it is read, or the heap checks would
// notice.
TEST(FolderNotice, DamagedBuffersAreReadUpToTheirEnd) {
    const std::vector<std::byte> whole = Buffer({{kModified, L"host.log"}, {kModified, kSettingsName}});
    for (size_t size = 0; size <= whole.size(); ++size) {
        EXPECT_FALSE(IsAboutConfigFile(std::vector<std::byte>(whole.begin(), whole.begin() + size)));
    }
    for (const DWORD next : {1U, 4U, 11U, 13U, 0x7FFF'FFFFU, 0xFFFF'FFFFU}) {
        std::vector<std::byte> damaged = whole;
        std::memcpy(damaged.data(), &next, sizeof(next));
        IsAboutConfigFile(damaged);
    }
    for (const DWORD length : {1U, 3U, 1024U, 0x7FFF'FFFFU, 0xFFFF'FFFFU}) {
        std::vector<std::byte> damaged = whole;
        std::memcpy(&damaged[offsetof(FILE_NOTIFY_INFORMATION, FileNameLength)], &length, sizeof(length));
        EXPECT_FALSE(IsAboutConfigFile(damaged));
    }
}

TEST(FolderNotice, AnOddLengthEndsWithTheLastWholeCharacter) {
    std::vector<std::byte> buffer = Buffer({{kModified, kQualityName}});
    const auto length = static_cast<DWORD>(std::wcslen(kQualityName) * sizeof(wchar_t) + 1);
    std::memcpy(&buffer[offsetof(FILE_NOTIFY_INFORMATION, FileNameLength)], &length, sizeof(length));
    buffer.push_back(std::byte{0});

    EXPECT_TRUE(IsAboutConfigFile(buffer));
}

} // namespace
} // namespace zq::test
