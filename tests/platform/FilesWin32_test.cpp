#include "platform/Files.h"

#include "platform/Handle.h"
#include "platform/TemporaryName.h"
#include "support/win32/Folders.h"
#include "support/win32/ImportFault.h"
#include "support/win32/UnixCommand.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <set>
#include <string>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

class FileOperations : public testing::Test {
protected:
    std::wstring Path(const wchar_t* name) const { return (m_folder.Path() / name).wstring(); }
    std::wstring From() const { return Path(L"from.json"); }
    std::wstring To() const { return Path(L"to.json"); }
    static void MakeReadOnly(const std::wstring& path) {
        SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
    }
    static bool IsReadOnly(const std::wstring& path) {
        return (GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY) != 0;
    }

    TempFolder m_folder;
};

TEST_F(FileOperations, ACopyHasTheTimeAndTheContentButIsNotReadOnly) {
    WriteBytes(From(), "content");
    const UniqueHandle file = AdoptFileHandle(
        CreateFileW(From().c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    const FILETIME time{123'456'700, 30'000'000};
    ASSERT_TRUE(SetFileTime(file.get(), nullptr, nullptr, &time));
    MakeReadOnly(From());

    EXPECT_EQ(0U, CopyToNewFile(From(), To()));

    EXPECT_EQ("content", ReadBytes(To()));
    EXPECT_EQ(LastWriteTime(From())->ticks, LastWriteTime(To())->ticks);
    EXPECT_FALSE(IsReadOnly(To()));
    EXPECT_TRUE(IsReadOnly(From()));
    SetFileAttributesW(From().c_str(), FILE_ATTRIBUTE_NORMAL);
}

// Sparse: it takes no room on the disk.
TEST_F(FileOperations, AFileOfTwoGigabytesCannotBeRead) {
    WriteBytes(From(), "");
    std::filesystem::resize_file(From(), uint64_t{1} << 31U);

    const FileSnapshot snapshot = ReadSnapshot(From());

    EXPECT_EQ(FileAccess::Failed, snapshot.access);
    EXPECT_EQ(DWORD{ERROR_FILE_TOO_LARGE}, snapshot.error);
    EXPECT_TRUE(snapshot.bytes.empty());
}

TEST_F(FileOperations, ACopyReplacesNothing) {
    WriteBytes(From(), "content");
    WriteBytes(To(), "stays");

    EXPECT_NE(0U, CopyToNewFile(From(), To()));
    EXPECT_NE(0U, WriteNewFile(To(), {'x'}));

    EXPECT_EQ("stays", ReadBytes(To()));
}

TEST_F(FileOperations, ANewFileMayBeEmpty) {
    EXPECT_EQ(0U, WriteNewFile(To(), {}));

    EXPECT_TRUE(FileExists(To()));
    EXPECT_EQ("", ReadBytes(To()));
}

TEST_F(FileOperations, ACopyThatFailsLeavesNothing) {
    WriteBytes(From(), "content");
    const Fault flush = FaultOf<struct CopyFlushTag>("kernel32.dll", "FlushFileBuffers", FlushFileBuffers,
                                                     FALSE, ERROR_DISK_FULL);
    {
        const ArmedFault armed(flush, 0);
        EXPECT_EQ(static_cast<uint32_t>(ERROR_DISK_FULL), CopyToNewFile(From(), To()));
    }
    EXPECT_FALSE(FileExists(To()));
    {
        const ArmedFault armed(flush, 0);
        EXPECT_EQ(static_cast<uint32_t>(ERROR_DISK_FULL), WriteNewFile(To(), {'x'}));
    }
    EXPECT_FALSE(FileExists(To()));
    EXPECT_EQ(static_cast<uint32_t>(ERROR_FILE_NOT_FOUND), CopyToNewFile(Path(L"missing"), To()));
    EXPECT_FALSE(FileExists(To()));
}

TEST_F(FileOperations, ARenameReplacesAReadOnlyFile) {
    WriteBytes(From(), "new");
    WriteBytes(To(), "old");
    MakeReadOnly(To());

    EXPECT_EQ(0U, RenameFile(From(), To(), Replacing::Yes));

    EXPECT_EQ("new", ReadBytes(To()));
    EXPECT_FALSE(FileExists(From()));
    EXPECT_FALSE(IsReadOnly(To()));
}

TEST_F(FileOperations, ARenameThatFailsLeavesTheTargetReadOnly) {
    WriteBytes(To(), "old");
    MakeReadOnly(To());

    EXPECT_NE(0U, RenameFile(From(), To(), Replacing::Yes));

    EXPECT_TRUE(IsReadOnly(To()));
    SetFileAttributesW(To().c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(FileOperations, ARenameReplacesNothingUnlessAsked) {
    WriteBytes(From(), "new");
    WriteBytes(To(), "old");

    EXPECT_NE(0U, RenameFile(From(), To(), Replacing::No));

    EXPECT_EQ("old", ReadBytes(To()));
    EXPECT_EQ("new", ReadBytes(From()));
}

TEST_F(FileOperations, DeletingRemovesAReadOnlyFileAndIgnoresAMissingOne) {
    WriteBytes(To(), "old");
    MakeReadOnly(To());

    EXPECT_EQ(0U, DeletePath(To()));
    EXPECT_FALSE(FileExists(To()));
    EXPECT_EQ(0U, DeletePath(To()));
    EXPECT_EQ(0U, DeletePath(Path(L"no folder") + L"\\file"));
}

TEST_F(FileOperations, TemporaryPathsAreBesideTheFileRecognisedAndNeverTheSame) {
    std::set<std::wstring> paths;
    for (int i = 0; i < 100; ++i) {
        const std::wstring path = TemporaryPath(To());
        EXPECT_EQ(m_folder.Path(), fs::path(path).parent_path());
        EXPECT_TRUE(IsTemporaryName(fs::path(path).filename().wstring()));
        EXPECT_TRUE(path.starts_with(To() + L"."));
        paths.insert(path);
    }
    EXPECT_EQ(100U, paths.size());
}

TEST_F(FileOperations, EachDigitOfATemporaryPathIsRandom) {
    std::array<std::set<wchar_t>, kTemporaryDigits> digits;
    for (int i = 0; i < 100; ++i) {
        const std::wstring path = TemporaryPath(To());
        for (size_t digit = 0; digit < digits.size(); ++digit) {
            digits[digit].insert(path[To().size() + 1 + digit]);
        }
    }
    for (const std::set<wchar_t>& seen : digits) {
        EXPECT_LT(8U, seen.size());
    }
}

TEST_F(FileOperations, ASnapshotHoldsTheTimeAndTheBytesOfOneMoment) {
    WriteBytes(To(), "content");

    const FileSnapshot snapshot = ReadSnapshot(To());

    EXPECT_EQ(FileAccess::Read, snapshot.access);
    EXPECT_EQ("content", std::string(snapshot.bytes.begin(), snapshot.bytes.end()));
    EXPECT_EQ(LastWriteTime(To()), snapshot.lastWrite);
    EXPECT_EQ(static_cast<int64_t>(snapshot.lastWrite.ticks / 10'000'000) - 11'644'473'600,
              snapshot.lastWrite.seconds);
}

TEST_F(FileOperations, SecondsBefore1970AreNegative) {
    WriteBytes(To(), "content");
    const UniqueHandle file = AdoptFileHandle(
        CreateFileW(To().c_str(), FILE_WRITE_ATTRIBUTES, 7, nullptr, OPEN_EXISTING, 0, nullptr));
    const uint64_t ticks = (11'644'473'600ULL - 86'400) * 10'000'000;
    const FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32U)};
    ASSERT_TRUE(SetFileTime(file.get(), nullptr, nullptr, &time));

    EXPECT_EQ(-86'400, LastWriteTime(To())->seconds);
}

TEST_F(FileOperations, AMissingFileHasNoTimeAndNoContent) {
    EXPECT_FALSE(LastWriteTime(To()));
    EXPECT_EQ(-1, ExistenceResult(To()));
    EXPECT_EQ(FileAccess::Missing, ReadSnapshot(To()).access);
    EXPECT_EQ(FileAccess::Missing, ReadSnapshot(Path(L"no folder") + L"\\file").access);
    EXPECT_FALSE(IsOpenForWriting(To()));
    EXPECT_FALSE(IsLinkElsewhere(To()));
}

TEST_F(FileOperations, OnlyAWriterIsReportedAsAWriter) {
    WriteBytes(To(), "content");
    EXPECT_FALSE(IsOpenForWriting(To()));
    {
        const UniqueHandle reader =
            AdoptFileHandle(CreateFileW(To().c_str(), GENERIC_READ, 7, nullptr, OPEN_EXISTING, 0, nullptr));
        EXPECT_FALSE(IsOpenForWriting(To()));
    }
    const UniqueHandle writer =
        AdoptFileHandle(CreateFileW(To().c_str(), GENERIC_WRITE, 7, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(IsOpenForWriting(To()));
}

DWORD g_share = 0;

HANDLE WINAPI NoteSharing(LPCWSTR, DWORD, DWORD share, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
    g_share &= share;
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
}

TEST_F(FileOperations, EveryOpenOfALookSharesReadingWritingAndDeleting) {
    g_share = ~DWORD{0};
    {
        const ImportPatch patch(nullptr, "kernel32.dll", "CreateFileW", AsProc(NoteSharing));
        ReadSnapshot(To());
        IsLinkElsewhere(To());
        WriteNewFile(To(), {});
    }

    EXPECT_EQ(DWORD{FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE}, g_share);
}

TEST_F(FileOperations, ALinkToAnotherFolderLeadsElsewhereAndOneBesideItselfDoesNot) {
    if (!HasUnixCommands()) {
        GTEST_SKIP();
    }
    const TempFolder other;
    WriteBytes(other.Path() / L"target.json", "target");
    WriteBytes(From(), "beside");
    MakeLink(other.Path() / L"target.json", Path(L"out.json"));
    MakeLink(From(), Path(L"beside.json"));
    MakeLink(Path(L"nothing.json"), Path(L"dangling.json"));

    EXPECT_TRUE(IsLinkElsewhere(Path(L"out.json")));
    EXPECT_FALSE(IsLinkElsewhere(Path(L"beside.json")));
    EXPECT_FALSE(IsLinkElsewhere(Path(L"dangling.json")));
    EXPECT_FALSE(IsLinkElsewhere(From()));
    EXPECT_FALSE(FileExists(Path(L"dangling.json")));
}

TEST_F(FileOperations, AFolderThatIsALinkItselfStaysUsable) {
    if (!HasUnixCommands()) {
        GTEST_SKIP();
    }
    const TempFolder other;
    WriteBytes(other.Path() / L"file.json", "content");
    MakeLink(other.Path(), Path(L"junction"));

    EXPECT_FALSE(IsLinkElsewhere(Path(L"junction") + L"\\file.json"));
}

TEST_F(FileOperations, OnlyAFolderThatIsNotALinkIsPinned) {
    fs::create_directory(Path(L"folder"));
    WriteBytes(From(), "a file");

    EXPECT_TRUE(PinnedFolder(Path(L"folder")));
    EXPECT_FALSE(PinnedFolder(From()));
    EXPECT_FALSE(PinnedFolder(Path(L"nothing")));
}

TEST_F(FileOperations, APinnedFolderCanBeFilledButNeitherRenamedNorRemoved) {
    fs::create_directory(Path(L"folder"));
    {
        const PinnedFolder pinned(Path(L"folder"));
        WriteBytes(fs::path(Path(L"folder")) / L"file", "content");
        fs::remove(fs::path(Path(L"folder")) / L"file");

        EXPECT_FALSE(MoveFileExW(Path(L"folder").c_str(), Path(L"other").c_str(), 0));
        EXPECT_FALSE(RemoveDirectoryW(Path(L"folder").c_str()));
    }
    EXPECT_TRUE(RemoveDirectoryW(Path(L"folder").c_str()));
}

// The function itself, past the patches of this program.
template <class Function>
Function* Unpatched(Function* /*type*/, const char* name) {
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name)));
}

DWORD g_flags = 0;

// A junction as Windows opens it with that flag: the link itself, where Wine follows it.
HANDLE WINAPI OpenNotingFlags(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                              DWORD disposition, DWORD flags, HANDLE pattern) {
    g_flags |= flags;
    return Unpatched(CreateFileW, "CreateFileW")(path, access, share, security, disposition, flags, pattern);
}

BOOL WINAPI QueryJunction(HANDLE file, LPBY_HANDLE_FILE_INFORMATION information) {
    const BOOL result =
        Unpatched(GetFileInformationByHandle, "GetFileInformationByHandle")(file, information);
    information->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    return result;
}

TEST_F(FileOperations, AJunctionIsOpenedItselfAndNotPinned) {
    fs::create_directory(Path(L"folder"));
    const ImportPatch open(nullptr, "kernel32.dll", "CreateFileW", AsProc(OpenNotingFlags));
    const ImportPatch query(nullptr, "kernel32.dll", "GetFileInformationByHandle", AsProc(QueryJunction));
    g_flags = 0;

    EXPECT_FALSE(PinnedFolder(Path(L"folder")));

    EXPECT_NE(0U, g_flags & FILE_FLAG_OPEN_REPARSE_POINT);
}

TEST_F(FileOperations, ALinkThatIsReplacedLeavesItsTarget) {
    if (!HasUnixCommands()) {
        GTEST_SKIP();
    }
    const TempFolder other;
    WriteBytes(other.Path() / L"target.json", "target");
    MakeLink(other.Path() / L"target.json", To());
    WriteBytes(From(), "new");

    EXPECT_EQ(0U, RenameFile(From(), To(), Replacing::Yes));

    EXPECT_EQ("new", ReadBytes(To()));
    EXPECT_EQ("target", ReadBytes(other.Path() / L"target.json"));
}

} // namespace
} // namespace zq::test
