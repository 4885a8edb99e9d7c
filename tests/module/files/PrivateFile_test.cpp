#include "module/files/PrivateFile.h"

#include "module/files/FilesFixture.h"
#include "support/win32/ImportFault.h"
#include "support/win32/ImportPatch.h"
#include "support/win32/UnixCommand.h"

namespace zq::test {
namespace {

class PrivateFileLook : public FilesFixture {
protected:
    void Record() { File(kSettings).Record(File(kSettings).Look().config.file, clock); }
    FileVerdict VerdictIfChanged() { return File(kSettings).LookIfChanged(clock).verdict; }
};

TEST_F(PrivateFileLook, AnAcceptableContentIsAccepted) {
    Write(kSettings, R"({"Edit":1})");

    const FileLook look = File(kSettings).Look();

    EXPECT_EQ(FileVerdict::Accepted, look.verdict);
    EXPECT_TRUE(look.config.text);
}

TEST_F(PrivateFileLook, AFileWhoseTimeWasNeverRecordedIsNotDoubted) {
    EXPECT_EQ(0U, File(kSettings).ConfirmAt());
}

TEST_F(PrivateFileLook, AFileWithTheRecordedTimeIsUnchangedWhateverItHolds) {
    Write(kSettings, R"({"Edit":1})");
    Record();
    WriteBytes(PathOf(kSettings), R"({"Edit":2})");
    SetLastWrite(PathOf(kSettings), File(kSettings).Time().ticks);

    EXPECT_EQ(FileVerdict::Unchanged, VerdictIfChanged());
    EXPECT_FALSE(File(kSettings).HasOtherTime());
}

TEST_F(PrivateFileLook, AnEarlierTimeIsAChangeToo) {
    Write(kSettings, R"({"Edit":1})");
    Record();
    SetLastWrite(PathOf(kSettings), File(kSettings).Time().ticks - 1);

    EXPECT_EQ(FileVerdict::Accepted, VerdictIfChanged());
    EXPECT_TRUE(File(kSettings).HasOtherTime());
}

TEST_F(PrivateFileLook, ABrokenContentIsRefused) {
    for (const std::string& bytes : {std::string(), std::string("{"), std::string("{\"Edit\":1"),
                                     std::string("{} x"), std::string(4, '\0')}) {
        Write(kSettings, bytes);
        EXPECT_EQ(FileVerdict::Refused, File(kSettings).Look().verdict) << bytes;
    }
}

TEST_F(PrivateFileLook, AHeadsetListThatIsNotAnArrayIsRefused) {
    Write(ConfigFile::HmdList, "{}");

    EXPECT_EQ(FileVerdict::Refused, File(ConfigFile::HmdList).Look().verdict);
}

TEST_F(PrivateFileLook, AFileThatDoesNotExistIsMissing) {
    EXPECT_EQ(FileVerdict::Missing, File(kSettings).Look().verdict);
    EXPECT_EQ(FileVerdict::Missing, VerdictIfChanged());
    EXPECT_TRUE(File(kSettings).HasOtherTime());
}

TEST_F(PrivateFileLook, ADanglingLinkIsMissing) {
    if (!HasUnixCommands()) {
        GTEST_SKIP();
    }
    MakeLink(folders.Outside(L"nothing"), PathOf(kSettings));

    EXPECT_EQ(FileVerdict::Missing, File(kSettings).Look().verdict);
    EXPECT_EQ(FileVerdict::Missing, VerdictIfChanged());
}

TEST_F(PrivateFileLook, AFileThatIsNotSharedIsHeld) {
    Write(kSettings, R"({"Edit":1})");
    const UniqueHandle held = Hold(PathOf(kSettings));

    EXPECT_EQ(FileVerdict::Held, File(kSettings).Look().verdict);
    EXPECT_EQ(FileVerdict::Held, VerdictIfChanged());
}

TEST_F(PrivateFileLook, AFileThatIsLockedForReadingIsHeld) {
    Write(kSettings, R"({"Edit":1})");
    const Fault locked =
        FaultOf<struct LockedTag>("kernel32.dll", "ReadFile", ReadFile, FALSE, ERROR_LOCK_VIOLATION);
    const ArmedFault armed(locked, 0);

    EXPECT_EQ(FileVerdict::Held, File(kSettings).Look().verdict);
}

TEST_F(PrivateFileLook, AFolderOfThatNameIsRefused) {
    std::filesystem::create_directory(PathOf(kSettings));

    EXPECT_EQ(FileVerdict::Refused, File(kSettings).Look().verdict);
}

BOOL WINAPI RefuseAllAttributes(LPCWSTR, GET_FILEEX_INFO_LEVELS, LPVOID) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST_F(PrivateFileLook, AFileWhoseTimeCannotBeQueriedHasNoTime) {
    Write(kSettings, R"({"Edit":1})");
    const ImportPatch patch(nullptr, "kernel32.dll", "GetFileAttributesExW", AsProc(RefuseAllAttributes));

    EXPECT_EQ(FileVerdict::NoTime, VerdictIfChanged());
}

TEST_F(PrivateFileLook, TwoWritesWithOneTimeAreBothSeen) {
    WriteNow(kSettings, R"({"Edit":1})");
    Record();
    WriteNow(kSettings, R"({"Edit":2})");

    EXPECT_FALSE(File(kSettings).HasOtherTime());
    EXPECT_EQ(FileVerdict::Accepted, VerdictIfChanged());
}

TEST_F(PrivateFileLook, ATimeOf49MillisecondsIsDoubtedAndOneOf50IsNot) {
    WriteNow(kSettings, R"({"Edit":1})");
    clock.Advance(49);
    Record();
    EXPECT_EQ(clock.Milliseconds() + 50, File(kSettings).ConfirmAt());

    clock.Advance(1);
    Record();
    EXPECT_EQ(0U, File(kSettings).ConfirmAt());
}

TEST_F(PrivateFileLook, ATimeInTheFutureIsDoubted) {
    WriteNow(kSettings, R"({"Edit":1})");
    SetLastWrite(PathOf(kSettings), clock.FileTicks() + 3600 * kTicksPerSecond);
    Record();

    EXPECT_EQ(clock.Milliseconds() + 50, File(kSettings).ConfirmAt());
}

TEST_F(PrivateFileLook, DoubtEndsWithTheFirstLookAfter50MillisecondsThatFindsTheSameBytes) {
    WriteNow(kSettings, R"({"Edit":1})");
    Record();

    clock.Advance(49);
    EXPECT_EQ(FileVerdict::Unchanged, VerdictIfChanged());
    EXPECT_NE(0U, File(kSettings).ConfirmAt());

    clock.Advance(1);
    EXPECT_EQ(FileVerdict::Unchanged, VerdictIfChanged());
    EXPECT_EQ(0U, File(kSettings).ConfirmAt());

    // From here on the time decides.
    WriteBytes(PathOf(kSettings), R"({"Edit":2})");
    SetLastWrite(PathOf(kSettings), File(kSettings).Time().ticks);
    EXPECT_EQ(FileVerdict::Unchanged, VerdictIfChanged());
}

TEST_F(PrivateFileLook, ADoubtedFileThatIsHeldStaysDoubted) {
    WriteNow(kSettings, R"({"Edit":1})");
    Record();
    clock.Advance(50);
    {
        const UniqueHandle held = Hold(PathOf(kSettings));
        EXPECT_EQ(FileVerdict::Held, VerdictIfChanged());
    }

    EXPECT_NE(0U, File(kSettings).ConfirmAt());
    EXPECT_EQ(FileVerdict::Unchanged, VerdictIfChanged());
}

TEST_F(PrivateFileLook, ATimeRecordedWithoutDoubtEndsAnEarlierOne) {
    WriteNow(kSettings, R"({"Edit":1})");
    Record();

    File(kSettings).RecordTime(File(kSettings).Time());

    EXPECT_EQ(0U, File(kSettings).ConfirmAt());
}

TEST_F(PrivateFileLook, RecordingWritesTheModulesMember) {
    Write(kSettings, R"({"Edit":1})");

    Record();

    EXPECT_EQ(*LastWriteTime(paths[0]), times[0]);
}

const Mutex* g_mutex = nullptr;
bool g_wasFree = true;

HANDLE WINAPI FailToOpen(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
    g_wasFree = IsFree(*g_mutex);
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
}

TEST_F(PrivateFileLook, ALookIsTakenUnderTheFilesMutexAndLeavesItFree) {
    g_mutex = &MutexOf(kSettings);
    {
        const ImportPatch patch(nullptr, "kernel32.dll", "CreateFileW", AsProc(FailToOpen));
        File(kSettings).Look();
    }

    EXPECT_FALSE(g_wasFree);
    EXPECT_TRUE(IsFree(MutexOf(kSettings)));
}

} // namespace
} // namespace zq::test
