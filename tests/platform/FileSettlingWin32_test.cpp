#include "platform/FileSettling.h"

#include "platform/Event.h"
#include "platform/Handle.h"
#include "platform/Mutex.h"
#include "support/win32/Folders.h"

#include <gtest/gtest.h>

namespace zq {
namespace {

class FileSettling : public testing::Test {
protected:
    UniqueHandle OpenForWriting() const {
        return AdoptFileHandle(CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                           nullptr, OPEN_ALWAYS, 0, nullptr));
    }
    Settling Wait() const { return WaitUntilFileSettles(file, fileMutex, stop); }

    const test::TempFolder folder;
    const std::wstring file = (folder.Path() / L"file").wstring();
    const Mutex fileMutex;
    const Event stop{EventReset::Manual};
};

TEST_F(FileSettling, AQuietFileHasSettled) {
    test::WriteBytes(file, "{}");

    EXPECT_EQ(Settling::Settled, Wait());
}

TEST_F(FileSettling, AMissingFileThatStaysMissingHasSettled) { EXPECT_EQ(Settling::Settled, Wait()); }

TEST_F(FileSettling, AnEmptyFileIsWaitedForAndThenTakenAsItIs) {
    test::WriteBytes(file, "");
    const ULONGLONG start = GetTickCount64();

    EXPECT_EQ(Settling::Settled, Wait());

    EXPECT_GE(GetTickCount64() - start, 450U);
}

TEST_F(FileSettling, AFileThatSomebodyHasOpenForWritingDoesNotSettle) {
    test::WriteBytes(file, "{}");
    const UniqueHandle writer = OpenForWriting();

    EXPECT_EQ(Settling::Unsettled, Wait());
}

TEST_F(FileSettling, TheStopEventEndsTheWaitAtOnce) {
    const UniqueHandle writer = OpenForWriting();
    stop.Set();
    const ULONGLONG start = GetTickCount64();

    EXPECT_EQ(Settling::Stopped, Wait());

    EXPECT_LT(GetTickCount64() - start, 200U);
}

} // namespace
} // namespace zq
