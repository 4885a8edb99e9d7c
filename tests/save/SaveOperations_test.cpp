// A save on the clock of the test: how long it waits for a file that another program holds.
#include "save/SaveOperations.h"

#include "base/HostLog.h"
#include "platform/Mutex.h"
#include "support/win32/Folders.h"
#include "support/win32/HeldFile.h"
#include "support/win32/ImportPatch.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace zq::test {
namespace {

ULONGLONG g_now = 0;
std::function<void()> g_onSleep;

ULONGLONG WINAPI Now() { return g_now; }

void WINAPI SleepOnTheClock(DWORD milliseconds) {
    g_now += milliseconds;
    if (g_onSleep) {
        g_onSleep();
    }
}

class SaveOfAHeldFile : public testing::Test {
protected:
    SaveOfAHeldFile() {
        g_now = 0;
        g_onSleep = nullptr;
        WriteBytes(m_path, R"({"A":1})");
        m_held = std::make_unique<HeldFile>(m_path);
    }

    SaveResult Save() {
        const ImportPatch time(nullptr, "kernel32.dll", "GetTickCount64", AsProc(Now));
        const ImportPatch sleep(nullptr, "kernel32.dll", "Sleep", AsProc(SleepOnTheClock));
        return SaveSetting({m_path, m_mutex, m_log}, {L"A", false, std::nullopt},
                           [](auto& member) { member.SetInt64(7); });
    }
    void Release() { m_held.reset(); }

private:
    TempFolder m_folder;
    const std::wstring m_path = (m_folder.Path() / L"settings.json").wstring();
    Mutex m_mutex;
    HostLog m_log;
    std::unique_ptr<HeldFile> m_held;
};

TEST_F(SaveOfAHeldFile, IsGivenUpAfterExactlyHalfASecond) {
    EXPECT_NE(SaveResult::Saved, Save());
    EXPECT_EQ(500U, g_now);
}

TEST_F(SaveOfAHeldFile, IsDoneOnceTheFileIsFreeEvenAtTheLastMoment) {
    g_onSleep = [this] {
        if (g_now == 500) {
            Release();
        }
    };
    EXPECT_EQ(SaveResult::Saved, Save());
    EXPECT_EQ(500U, g_now);
}

} // namespace
} // namespace zq::test
