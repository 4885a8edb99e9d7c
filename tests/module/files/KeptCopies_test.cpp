#include "module/files/KeptCopies.h"

#include "module/files/FilesFixture.h"
#include "support/win32/ImportFault.h"
#include "support/win32/UnixCommand.h"

namespace zq::test {
namespace {

namespace fs = std::filesystem;

TEST(CopyName, OnlyTheExactFormIsOne) {
    const std::wstring file = L"a.json";
    EXPECT_TRUE(IsCopyName(L"a.json.20260102T030405.678Z", file));

    for (const wchar_t* name :
         {L"a.json", L"a.json.", L"a.json.old", L"a.json.20260102T030405.678",
          L"a.json.20260102T030405.678Z.bak", L"a.json.2026-01-02T030405.678Z",
          L"a.json.20260102t030405.678Z", L"a.json.20260102T030405.678z", L"a.json.20260102T030405,678Z",
          L"a.json-20260102T030405.678Z", L"b.json.20260102T030405.678Z", L"A.json.20260102T030405.678Z",
          L"a.json.2026010 T030405.678Z", L"xa.json.20260102T030405.678Z", L"a.jso.20260102T030405.678Z",
          L"20260102T030405.678Z", L""}) {
        EXPECT_FALSE(IsCopyName(name, file)) << fs::path(name).string();
    }
}

class Copies : public FilesFixture {
protected:
    fs::path Make(const wchar_t* name) const {
        fs::path folder = folders.DataDir() / name;
        fs::create_directory(folder);
        return folder;
    }
    static std::wstring CopyOfYear(int year) {
        return std::wstring(kSettingsName) + L"." + std::to_wstring(year) + L"0102T030405.678Z";
    }
    static std::vector<char> Bytes(std::string_view text) { return {text.begin(), text.end()}; }
    void Keep(std::string_view text) const { KeepLoaded(paths[0], Bytes(text)); }
};

TEST_F(Copies, WithoutTheirFoldersNothingIsMovedOrKept) {
    Write(ConfigFile::Settings, "{}");

    EXPECT_EQ(L"", MoveToRejected(paths[0]));
    Keep("{}");

    EXPECT_EQ(std::vector<std::wstring>{kSettingsName}, NamesIn(folders.DataDir()));
}

TEST_F(Copies, ALoadedContentIsKeptUnderItsTime) {
    const fs::path kept = Make(L"kept");

    Keep("{}");

    const std::vector<std::wstring> names = NamesIn(kept);
    ASSERT_EQ(1U, names.size());
    EXPECT_TRUE(IsCopyName(names[0], kSettingsName));
    EXPECT_EQ("{}", ReadBytes(kept / names[0]));
}

TEST_F(Copies, AContentThatEqualsTheNewestCopyIsNotKeptAgain) {
    const fs::path kept = Make(L"kept");

    Keep("1");
    Keep("1");
    EXPECT_EQ(1U, NamesIn(kept).size());
    Keep("2");
    Keep("1");

    const std::vector<std::wstring> names = NamesIn(kept);
    ASSERT_EQ(3U, names.size());
    EXPECT_EQ("1", ReadBytes(kept / names[0]));
    EXPECT_EQ("2", ReadBytes(kept / names[1]));
    EXPECT_EQ("1", ReadBytes(kept / names[2]));
}

TEST_F(Copies, TheNewestTenOfEachNameStay) {
    const fs::path kept = Make(L"kept");
    for (int year = 2000; year < 2013; ++year) {
        WriteBytes(kept / CopyOfYear(year), "old");
    }
    WriteBytes(kept / L"ZQ2_HmdList.json.19990102T030405.678Z", "another name");

    Keep("new");

    EXPECT_FALSE(fs::exists(kept / CopyOfYear(2003)));
    EXPECT_TRUE(fs::exists(kept / CopyOfYear(2004)));
    EXPECT_TRUE(fs::exists(kept / L"ZQ2_HmdList.json.19990102T030405.678Z"));
    EXPECT_EQ(11U, NamesIn(kept).size());
}

TEST_F(Copies, AReadOnlyCopyThatIsTooOldGoesToo) {
    const fs::path kept = Make(L"kept");
    for (int year = 2000; year < 2011; ++year) {
        WriteBytes(kept / CopyOfYear(year), "old");
        SetFileAttributesW((kept / CopyOfYear(year)).c_str(), FILE_ATTRIBUTE_READONLY);
    }

    Keep("new");

    EXPECT_EQ(10U, NamesIn(kept).size());
}

TEST_F(Copies, ForeignFilesAndFoldersAreNeitherCountedNorRemoved) {
    const fs::path rejected = Make(L"rejected");
    const std::wstring prefix = std::wstring(kSettingsName) + L".";
    for (const wchar_t* name : {L"old", L"zzz", L"99990102T030405.678Z.bak"}) {
        WriteBytes(rejected / (prefix + name), "foreign");
    }
    fs::create_directory(rejected / CopyOfYear(1999));
    for (int year = 2000; year < 2012; ++year) {
        WriteBytes(rejected / CopyOfYear(year), "old");
    }
    Write(ConfigFile::Settings, "broken");

    const std::wstring moved = MoveToRejected(paths[0]);

    EXPECT_EQ("broken", ReadBytes(moved));
    EXPECT_FALSE(fs::exists(PathOf(ConfigFile::Settings)));
    EXPECT_EQ(3U + 1U + 10U, NamesIn(rejected).size());
    EXPECT_TRUE(fs::is_directory(rejected / CopyOfYear(1999)));
    EXPECT_FALSE(fs::exists(rejected / CopyOfYear(2002)));
    EXPECT_TRUE(fs::exists(rejected / CopyOfYear(2003)));
}

TEST_F(Copies, FilesOfTheSameMillisecondGetDifferentNames) {
    const fs::path rejected = Make(L"rejected");
    for (int i = 0; i < 8; ++i) {
        Write(ConfigFile::Settings, "broken " + std::to_string(i));
        EXPECT_NE(L"", MoveToRejected(paths[0]));
    }

    const std::vector<std::wstring> names = NamesIn(rejected);
    ASSERT_EQ(8U, names.size());
    for (size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ("broken " + std::to_string(i), ReadBytes(rejected / names[i]));
    }
}

TEST_F(Copies, AFileInPlaceOfTheFolderCountsAsAbsent) {
    WriteBytes(folders.DataDir() / L"rejected", "a file");
    WriteBytes(folders.DataDir() / L"kept", "a file");
    Write(ConfigFile::Settings, "broken");

    EXPECT_EQ(L"", MoveToRejected(paths[0]));
    Keep("{}");

    EXPECT_EQ("broken", Content(ConfigFile::Settings));
    EXPECT_EQ("a file", ReadBytes(folders.DataDir() / L"rejected"));
    EXPECT_EQ("a file", ReadBytes(folders.DataDir() / L"kept"));
}

TEST_F(Copies, AFolderThatIsALinkOutCountsAsAbsentAndItsTargetKeepsAll) {
    if (!HasUnixCommands()) {
        GTEST_SKIP();
    }
    const fs::path elsewhere = folders.Outside(L"elsewhere");
    fs::create_directory(elsewhere);
    for (int year = 2000; year < 2015; ++year) {
        WriteBytes(elsewhere / CopyOfYear(year), "foreign");
    }
    MakeLink(elsewhere, folders.DataDir() / L"rejected");
    MakeLink(elsewhere, folders.DataDir() / L"kept");
    Write(ConfigFile::Settings, "broken");

    EXPECT_EQ(L"", MoveToRejected(paths[0]));
    Keep("{}");

    EXPECT_EQ(15U, NamesIn(elsewhere).size());
}

TEST_F(Copies, AnEntryThatIsALinkOutIsNotCounted) {
    if (!HasUnixCommands()) {
        GTEST_SKIP();
    }
    const fs::path kept = Make(L"kept");
    WriteBytes(folders.Outside(L"foreign"), "foreign");
    MakeLink(folders.Outside(L"foreign"), kept / CopyOfYear(1999));
    for (int year = 2000; year < 2010; ++year) {
        WriteBytes(kept / CopyOfYear(year), "old");
    }

    Keep("new");

    EXPECT_EQ("foreign", ReadBytes(kept / CopyOfYear(1999)));
    EXPECT_FALSE(fs::exists(kept / CopyOfYear(2000)));
}

TEST_F(Copies, ACopyThatCannotBeWrittenLeavesNothing) {
    const fs::path kept = Make(L"kept");
    const Fault full =
        FaultOf<struct WriteTag>("kernel32.dll", "WriteFile", WriteFile, FALSE, ERROR_DISK_FULL);
    const std::vector<char> bytes = Bytes("{}");
    {
        const ArmedFault armed(full, 0);
        KeepLoaded(paths[0], bytes);
        EXPECT_TRUE(armed.HasFailed());
    }

    EXPECT_TRUE(NamesIn(kept).empty());
}

} // namespace
} // namespace zq::test
