#include "module/files/Replacement.h"

#include "module/files/FilesFixture.h"
#include "module/files/KeptCopies.h"
#include "support/win32/ImportFault.h"
#include "support/win32/UnixCommand.h"

namespace zq::test {
namespace {

namespace fs = std::filesystem;

// The module's file operations as the system sees them. Here the test program takes the place of the DLL.
std::vector<Fault> FileFaults(DWORD error) {
    return {
        FaultOf<struct OpenTag>("kernel32.dll", "CreateFileW", CreateFileW, INVALID_HANDLE_VALUE, error),
        FaultOf<struct CopyTag>("kernel32.dll", "CopyFileW", CopyFileW, FALSE, error),
        FaultOf<struct MoveTag>("kernel32.dll", "MoveFileExW", MoveFileExW, FALSE, error),
        FaultOf<struct DeleteTag>("kernel32.dll", "DeleteFileW", DeleteFileW, FALSE, error),
        FaultOf<struct TimeTag>("kernel32.dll", "GetFileTime", GetFileTime, FALSE, error),
        FaultOf<struct SizeTag>("kernel32.dll", "GetFileSizeEx", GetFileSizeEx, FALSE, error),
        FaultOf<struct ReadTag>("kernel32.dll", "ReadFile", ReadFile, FALSE, error),
        FaultOf<struct FlushTag>("kernel32.dll", "FlushFileBuffers", FlushFileBuffers, FALSE, error),
        FaultOf<struct AttributesTag>("kernel32.dll", "GetFileAttributesW", GetFileAttributesW,
                                      INVALID_FILE_ATTRIBUTES, error),
        FaultOf<struct SetAttributesTag>("kernel32.dll", "SetFileAttributesW", SetFileAttributesW, FALSE,
                                         error),
        FaultOf<struct FinalPathTag>("kernel32.dll", "GetFinalPathNameByHandleW", GetFinalPathNameByHandleW,
                                     0, error),
    };
}

class ReplaceByDefaultTest : public FilesFixture {
protected:
    ReplacementResult Replace() { return ReplaceByDefault(File(kSettings), m_look); }
    void LookNow() { m_look = File(kSettings).Look(); }
    fs::path Rejected() const { return folders.DataDir() / L"rejected"; }

    void ExpectNoTemporaryFiles() const {
        for (const std::wstring& name : NamesIn(folders.DataDir())) {
            EXPECT_FALSE(name.ends_with(L".zqtmp"));
        }
    }
    void ExpectReplaced() {
        const ReplacementResult result = Replace();
        EXPECT_EQ(Replacement::Done, result.outcome) << result.error;
        EXPECT_EQ(DefaultContent(kSettings), Content(kSettings));
        ExpectNoTemporaryFiles();
        EXPECT_TRUE(IsFree(MutexOf(kSettings)));
    }
    void ExpectUnchanged(Replacement outcome, std::string_view content) {
        EXPECT_EQ(outcome, Replace().outcome);
        EXPECT_EQ(content, Content(kSettings));
        ExpectNoTemporaryFiles();
        EXPECT_TRUE(IsFree(MutexOf(kSettings)));
    }

    // Expects either the old content or the new one, complete.
    void ExpectWhole(const ReplacementResult& result, bool wasThere) {
        if (!fs::exists(PathOf(kSettings))) {
            EXPECT_FALSE(wasThere);
            EXPECT_NE(Replacement::Done, result.outcome);
        } else if (result.outcome == Replacement::Done) {
            EXPECT_EQ(DefaultContent(kSettings), Content(kSettings));
        } else {
            EXPECT_EQ(kBroken, Content(kSettings));
        }
    }

    // Replaces once for each call of each function, the call failing with `error`. `prepare` makes the file.
    void FailAtEachCall(DWORD error, const std::function<void()>& prepare) {
        int failed = 0;
        for (const Fault& fault : FileFaults(error)) {
            for (int call = 0;; ++call) {
                SCOPED_TRACE(fault.function + " call " + std::to_string(call) + " error " +
                             std::to_string(error));
                ASSERT_LT(call, 100);
                fs::remove(PathOf(kSettings));
                prepare();
                const bool wasThere = fs::exists(PathOf(kSettings));
                LookNow();
                ReplacementResult result;
                bool hasFailed = false;
                {
                    const ArmedFault armed(fault, call);
                    result = Replace();
                    hasFailed = armed.HasFailed();
                }
                ExpectWhole(result, wasThere);
                EXPECT_TRUE(IsFree(MutexOf(kSettings)));
                if (fault.function != "DeleteFileW") {
                    ExpectNoTemporaryFiles();
                }
                if (!hasFailed) {
                    EXPECT_EQ(Replacement::Done, result.outcome);
                    break;
                }
                ++failed;
            }
        }
        EXPECT_GE(failed, 6);
    }

    FileLook m_look;
};

TEST_F(ReplaceByDefaultTest, ARefusedFileIsReplaced) {
    Write(kSettings, kBroken);
    LookNow();

    ExpectReplaced();
    EXPECT_EQ(LastWriteTime(defaultPaths[0]), LastWriteTime(paths[0]));
}

TEST_F(ReplaceByDefaultTest, AMissingFileIsProvided) {
    LookNow();

    ExpectReplaced();
}

TEST_F(ReplaceByDefaultTest, WithAFolderForThemTheRefusedFileIsMovedThere) {
    fs::create_directory(Rejected());
    Write(kSettings, kBroken);
    LookNow();

    ExpectReplaced();

    const std::vector<std::wstring> names = NamesIn(Rejected());
    ASSERT_EQ(1U, names.size());
    EXPECT_TRUE(IsCopyName(names[0], kSettingsName));
    EXPECT_EQ(kBroken, ReadBytes(Rejected() / names[0]));
}

// A hard link is the file itself: only the name in the folder is replaced.
TEST_F(ReplaceByDefaultTest, ARefusedFileWithAnotherNameKeepsItsContentThere) {
    const fs::path other = folders.Outside(L"other.json");
    Write(kSettings, "broken");
    fs::create_hard_link(PathOf(kSettings), other);
    LookNow();

    ExpectReplaced();

    EXPECT_EQ("broken", ReadBytes(other));
}

TEST_F(ReplaceByDefaultTest, AFileThatHasBecomeAcceptableIsLeftAsItIs) {
    Write(kSettings, kBroken);
    LookNow();
    Write(kSettings, R"({"Edit":1})");

    ExpectUnchanged(Replacement::Overtaken, R"({"Edit":1})");
}

TEST_F(ReplaceByDefaultTest, AFileThatIsBrokenInAnotherWayIsLeftAsItIs) {
    Write(kSettings, kBroken);
    LookNow();
    Write(kSettings, "{");

    ExpectUnchanged(Replacement::Overtaken, "{");
}

TEST_F(ReplaceByDefaultTest, AGapThatSomebodyFilledIsLeftAsItIs) {
    LookNow();
    Write(kSettings, R"({"Edit":1})");

    ExpectUnchanged(Replacement::Overtaken, R"({"Edit":1})");
}

std::function<void()> g_beforeMove;
decltype(&MoveFileExW) g_moveFile = nullptr;

BOOL WINAPI MoveAfterHook(LPCWSTR from, LPCWSTR to, DWORD flags) {
    g_beforeMove();
    return g_moveFile(from, to, flags);
}

TEST_F(ReplaceByDefaultTest, AGapThatIsFilledAtTheLastMomentIsLeftAsItIs) {
    LookNow();
    // Another program makes the file after the module has looked under the mutex.
    g_beforeMove = [this] { Write(kSettings, R"({"Edit":1})"); };
    ReplacementResult result;
    {
        const ImportPatch patch(nullptr, "kernel32.dll", "MoveFileExW", AsProc(MoveAfterHook));
        g_moveFile = reinterpret_cast<decltype(&MoveFileExW)>(reinterpret_cast<void*>(patch.Original()));
        result = Replace();
    }

    EXPECT_EQ(Replacement::Overtaken, result.outcome);
    EXPECT_EQ(R"({"Edit":1})", Content(kSettings));
    ExpectNoTemporaryFiles();
}

TEST_F(ReplaceByDefaultTest, ARefusedFileThatWasDeletedMeanwhileIsNotReplaced) {
    Write(kSettings, kBroken);
    LookNow();
    fs::remove(PathOf(kSettings));

    EXPECT_EQ(Replacement::Overtaken, Replace().outcome);
    EXPECT_FALSE(fs::exists(PathOf(kSettings)));
}

TEST_F(ReplaceByDefaultTest, AFileThatIsNotSharedIsHeld) {
    Write(kSettings, kBroken);
    LookNow();
    UniqueHandle held = Hold(PathOf(kSettings));
    EXPECT_EQ(Replacement::Held, Replace().outcome);
    held.reset();

    EXPECT_EQ(kBroken, Content(kSettings));
    ExpectReplaced();
}

TEST_F(ReplaceByDefaultTest, AFileThatSomebodyWritesIsHeldHoweverItIsShared) {
    Write(kSettings, kBroken);
    LookNow();
    UniqueHandle held =
        Hold(PathOf(kSettings), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    ExpectUnchanged(Replacement::Held, kBroken);
    held.reset();

    ExpectReplaced();
}

TEST_F(ReplaceByDefaultTest, AFileThatCannotBeDeletedIsHeld) {
    for (const bool hasRejected : {false, true}) {
        if (hasRejected) {
            fs::create_directory(Rejected());
        }
        Write(kSettings, kBroken);
        LookNow();
        UniqueHandle held = Hold(PathOf(kSettings), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
        const ReplacementResult result = Replace();
        EXPECT_NE(Replacement::Overtaken, result.outcome);
        held.reset();
        ExpectWhole(result, true);
        ExpectNoTemporaryFiles();
    }
}

TEST_F(ReplaceByDefaultTest, ADefaultThatIsHeldChangesNothing) {
    fs::create_directory(Rejected());
    Write(kSettings, kBroken);
    LookNow();
    const UniqueHandle held = Hold(DefaultOf(kSettings));

    ExpectUnchanged(Replacement::Held, kBroken);
    EXPECT_TRUE(NamesIn(Rejected()).empty());
}

TEST_F(ReplaceByDefaultTest, AMissingDefaultFailsAndTheRefusedFileStays) {
    fs::create_directory(Rejected());
    Write(kSettings, kBroken);
    LookNow();
    fs::remove(DefaultOf(kSettings));

    ExpectUnchanged(Replacement::Failed, kBroken);
    EXPECT_TRUE(NamesIn(Rejected()).empty());
}

TEST_F(ReplaceByDefaultTest, TheRaisedErrorNamesBothFilesAndTheReason) {
    try {
        RaiseReplacementError(File(kSettings), ERROR_FILE_NOT_FOUND);
        FAIL();
    } catch (const fs::filesystem_error& error) {
        EXPECT_EQ(DefaultOf(kSettings), error.path1());
        EXPECT_EQ(PathOf(kSettings), error.path2());
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, static_cast<DWORD>(error.code().value()));
    }
}

TEST_F(ReplaceByDefaultTest, AReadOnlyFileIsReplacedByOneThatCanBeWritten) {
    Write(kSettings, kBroken);
    SetFileAttributesW(paths[0].c_str(), FILE_ATTRIBUTE_READONLY);
    SetFileAttributesW(defaultPaths[0].c_str(), FILE_ATTRIBUTE_READONLY);
    LookNow();

    ExpectReplaced();

    EXPECT_EQ(0U, GetFileAttributesW(paths[0].c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_NE(0U, GetFileAttributesW(defaultPaths[0].c_str()) & FILE_ATTRIBUTE_READONLY);
    SetFileAttributesW(defaultPaths[0].c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(ReplaceByDefaultTest, AFolderOfThatNameFailsAndStaysWithWhatItHolds) {
    fs::create_directory(PathOf(kSettings));
    WriteBytes(PathOf(kSettings) / L"inside.txt", "stays");
    LookNow();

    EXPECT_EQ(Replacement::Failed, Replace().outcome);

    EXPECT_EQ("stays", ReadBytes(PathOf(kSettings) / L"inside.txt"));
    ExpectNoTemporaryFiles();
}

TEST_F(ReplaceByDefaultTest, AFailureAtAnyCallLeavesTheOldOrTheNewContentComplete) {
    for (const DWORD error : {ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION, ERROR_DISK_FULL}) {
        FailAtEachCall(error, [this] { Write(kSettings, kBroken); });
    }
}

TEST_F(ReplaceByDefaultTest, AFailureWithAFolderForRefusedFilesLeavesTheOldOrTheNewContentComplete) {
    fs::create_directory(Rejected());
    for (const DWORD error : {ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION, ERROR_DISK_FULL}) {
        FailAtEachCall(error, [this] { Write(kSettings, kBroken); });
    }
}

TEST_F(ReplaceByDefaultTest, AFailureForAMissingFileLeavesTheOldOrTheNewContentComplete) {
    for (const DWORD error : {ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION, ERROR_DISK_FULL}) {
        FailAtEachCall(error, [] {});
    }
}

class ReplaceLink : public ReplaceByDefaultTest {
protected:
    void SetUp() override {
        if (!HasUnixCommands()) {
            GTEST_SKIP();
        }
        WriteBytes(m_target, kBroken);
        MakeLink(m_target, PathOf(kSettings));
        LookNow();
    }
    void TearDown() override {
        if (HasUnixCommands()) {
            EXPECT_EQ(kBroken, ReadBytes(m_target));
        }
    }
    // Wine's own removal would take the target.
    void RemoveLink() const { ASSERT_EQ(0, RunUnix(folders.DataDir(), "rm " + UnixPath(PathOf(kSettings)))); }

    const fs::path m_target = folders.Outside(L"target.json");
};

TEST_F(ReplaceLink, ALinkOutIsReplacedItselfAndItsTargetStays) {
    EXPECT_EQ(FileVerdict::Refused, m_look.verdict);
    EXPECT_TRUE(IsLinkElsewhere(paths[0]));

    ExpectReplaced();

    EXPECT_FALSE(IsLinkElsewhere(paths[0]));
}

TEST_F(ReplaceLink, ALinkOutIsNotMovedToTheRefusedFiles) {
    fs::create_directory(Rejected());

    ExpectReplaced();

    EXPECT_TRUE(NamesIn(Rejected()).empty());
    EXPECT_FALSE(IsLinkElsewhere(paths[0]));
}

TEST_F(ReplaceLink, AFolderForRefusedFilesThatIsALinkOutCountsAsAbsent) {
    const fs::path elsewhere = folders.Outside(L"elsewhere");
    fs::create_directory(elsewhere);
    MakeLink(elsewhere, Rejected());
    RemoveLink();
    Write(kSettings, kBroken);
    LookNow();

    ExpectReplaced();

    EXPECT_TRUE(NamesIn(elsewhere).empty());
}

TEST_F(ReplaceLink, ADanglingLinkIsReplacedByAFile) {
    RemoveLink();
    MakeLink(folders.Outside(L"nothing.json"), PathOf(kSettings));
    LookNow();
    EXPECT_EQ(FileVerdict::Missing, m_look.verdict);

    ExpectReplaced();

    EXPECT_FALSE(fs::exists(folders.Outside(L"nothing.json")));
}

} // namespace
} // namespace zq::test
