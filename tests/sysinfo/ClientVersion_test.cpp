#include "sysinfo/ClientVersion.h"

#include "base/HostLog.h"
#include "support/RecordingHost.h"
#include "support/win32/Folders.h"
#include "sysinfo/PublishedStrings.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

using Entries = std::vector<PublishedStrings::Entry>;
using Lines = std::vector<LogLine>;

class ClientVersion : public testing::Test {
protected:
    ClientVersion() {
        log.SetHost(&host);
        std::filesystem::create_directories(VersionFile().parent_path());
    }

    std::filesystem::path VersionFile() const { return folder.Path() / L"ZQClient" / L"Version.txt"; }
    void LookUp() { GetLocalClientAPKVersion(log, published.Publisher(), folder.Path().wstring()); }
    void ExpectVersion(const std::wstring& version) {
        EXPECT_EQ((Entries{{L"LocalClientAPKVersion", version}}), published.Entries());
        EXPECT_EQ((Lines{{2, L"[GetLocalClientAPKVersion] Client version from version.txt is " + version}}),
                  host.Lines());
    }

    TempFolder folder;
    RecordingHost host;
    HostLog log;
    PublishedStrings published;
};

TEST_F(ClientVersion, PublishesTheVersionOfTheFile) {
    WriteBytes(VersionFile(), "[ProductVersion]\r\nVersion=2.3.1.40\r\n");

    LookUp();

    ExpectVersion(L"2.3.1.40");
}

TEST_F(ClientVersion, WarnsAndPublishesNothingWithoutTheFile) {
    LookUp();

    EXPECT_TRUE(published.Entries().empty());
    EXPECT_EQ((Lines{{3, L"[GetLocalClientAPKVersion] Client version txt (" + folder.Path().wstring() +
                             L"\\ZQClient\\Version.txt) is not exist, just pass false to checker function"}}),
              host.Lines());
}

TEST_F(ClientVersion, WarnsWithoutTheFolderToo) {
    std::filesystem::remove_all(VersionFile().parent_path());

    LookUp();

    EXPECT_TRUE(published.Entries().empty());
    ASSERT_EQ(1U, host.Lines().size());
    EXPECT_EQ(3, host.Lines()[0].level);
}

TEST_F(ClientVersion, WarnsWhenThePathCannotBeQueried) {
    GetLocalClientAPKVersion(log, published.Publisher(), L"Z:\\no<such>|folder");
    GetLocalClientAPKVersion(log, published.Publisher(), L"Q:\\no drive");

    EXPECT_TRUE(published.Entries().empty());
    EXPECT_EQ(2U, host.Lines().size());
}

TEST_F(ClientVersion, LooksInTheRootWithoutAnInstallationFolder) {
    GetLocalClientAPKVersion(log, published.Publisher(), L"");

    EXPECT_TRUE(published.Entries().empty());
    EXPECT_TRUE(host.Has(L"[GetLocalClientAPKVersion] Client version txt (\\ZQClient\\Version.txt) is not "
                         L"exist, just pass false to checker function"));
}

TEST_F(ClientVersion, IsEmptyWithoutTheSection) {
    WriteBytes(VersionFile(), "[Other]\r\nVersion=9\r\n");

    LookUp();

    ExpectVersion(L"");
}

TEST_F(ClientVersion, IsEmptyWithoutTheKey) {
    WriteBytes(VersionFile(), "[ProductVersion]\r\nBuild=9\r\n");

    LookUp();

    ExpectVersion(L"");
}

TEST_F(ClientVersion, IsEmptyForAnEmptyFile) {
    WriteBytes(VersionFile(), "");

    LookUp();

    ExpectVersion(L"");
}

TEST_F(ClientVersion, IsEmptyForAFolderOfThatName) {
    std::filesystem::create_directory(VersionFile());

    LookUp();

    ExpectVersion(L"");
}

TEST_F(ClientVersion, CutsAVersionAt255Characters) {
    WriteBytes(VersionFile(), "[ProductVersion]\r\nVersion=" + std::string(300, '7') + "\r\n");

    LookUp();

    ExpectVersion(std::wstring(255, L'7'));
}

TEST_F(ClientVersion, KeepsAVersionOf255Characters) {
    WriteBytes(VersionFile(), "[ProductVersion]\r\nVersion=" + std::string(254, '7') + "8\r\n");

    LookUp();

    ExpectVersion(std::wstring(254, L'7') + L"8");
}

TEST_F(ClientVersion, TakesSectionAndKeyInAnyCase) {
    WriteBytes(VersionFile(), "[PRODUCTVERSION]\nversion = 5.0 \n");

    LookUp();

    ExpectVersion(L"5.0");
}

TEST_F(ClientVersion, LogsNothingWhenPublishingFails) {
    WriteBytes(VersionFile(), "[ProductVersion]\r\nVersion=1\r\n");
    const StringPublisher refuse = [](const wchar_t*, const std::wstring&) { throw 1; };

    EXPECT_THROW(GetLocalClientAPKVersion(log, refuse, folder.Path().wstring()), int);

    EXPECT_TRUE(host.Lines().empty());
}

} // namespace
} // namespace zq::test
