// Many edits by a second process: none is lost, none is replaced by the default.
//
// ZQ_TEST_LONG in the environment runs the long forms.
#include "support/LongForm.h"
#include "support/win32/ImportPatch.h"
#include "support/win32/Module.h"
#include "support/win32/ProcessResources.h"
#include "support/win32/Waiting.h"
#include "support/win32/WatchedFolder.h"

#include <gtest/gtest.h>

#include <atomic>

namespace zq::test {
namespace {

class WatcherStress : public WatchedFolder {};

TEST_F(WatcherStress, ABufferOverflowCausesAPass) {
    host.onReloaded = Once([this] {
        // While the host holds the watcher, more changes arrive than its buffer can hold.
        EXPECT_EQ(0U, ChildProcess(Editor(L"touch", 400, 0)).ExitCode());
        WriteBytes(folders.Private(kQualityName), R"({"AfterOverflow":1})");
    });

    WriteBytes(folders.Private(kHmdListName), "[]");

    EXPECT_TRUE(WaitFor([&] { return host.Count(L"ReloadPrivateConfigFile begin") >= 2; }));
    EXPECT_TRUE(WaitFor([&] { return module.Int64(L"AfterOverflow") == 1; }));
    ExpectEdit(1);
}

TEST_F(WatcherStress, AmongThousandsOfOtherFilesTheVariablesMatchTheDisk) {
    const int files = Long(20'000, 2000);

    EXPECT_EQ(0U, ChildProcess(Editor(L"touch", files, 0)).ExitCode());

    // A change whose record comes first updates all three, whatever went unnoticed before. It comes first
    // once no record of the other files is left.
    EXPECT_TRUE(WaitFor([&, last = 0]() mutable {
        WriteBytes(folders.Private(kQualityName), R"({"Last":)" + std::to_string(++last) + "}");
        return WaitFor([&] { return module.Int64(L"Last") == last; }, std::chrono::milliseconds(200));
    }));
    ExpectEdit(files / 500 + 1);
}

HRESULT WINAPI RefuseCom(void*, DWORD) { return E_FAIL; }
void WINAPI IgnoreCom() {}

TEST(LifecycleStress, ManyLifecyclesLeaveNothingBehind) {
    // Wine's own WMI leaves 128 bytes behind for each look at the display; the survey has its own test with a
    // fake.
    const HMODULE dll = LoadModuleDll();
    const ImportPatch noCom(dll, "ole32.dll", "CoInitializeEx", AsProc(RefuseCom));
    const ImportPatch noEnd(dll, "ole32.dll", "CoUninitialize", AsProc(IgnoreCom));
    const auto live = [] {
        ModuleFolders folders;
        RecordingHost host;
        Module module;
        module.Init(host, folders);
        module->DoStart();
    };
    for (int i = 0; i < 5; ++i) {
        live();
    }
    const size_t handles = HandleCount();
    const size_t threads = ThreadCount();
    const size_t heap = HeapBytes();

    for (int i = 0; i < Long(200, 40); ++i) {
        live();
    }

    EXPECT_TRUE(WaitFor([&] { return ThreadCount() <= threads; }));
    EXPECT_LE(HandleCount(), handles);
    EXPECT_LE(HeapBytes(), heap + 4096);
}

TEST(LifecycleStress, StoppingDuringAReloadReturnsWithinASecond) {
    ModuleFolders folders;
    for (int i = 0; i < Long(500, 40); ++i) {
        RecordingHost host;
        Module module;
        InitAndWatch(module, host, folders);
        // Stopped at the n-th message of the pass.
        std::atomic<int> messagesLeft = 1 + i % 5;
        const HANDLE reached = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        host.onLog = [&](const LogLine&) {
            if (--messagesLeft == 0) {
                SetEvent(reached);
            }
        };
        WriteBytes(folders.Private(kSettingsName), "{\"Edit\":" + std::to_string(i) + "}");
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(reached, 10'000));

        const ULONGLONG start = GetTickCount64();
        module->DoStop();

        EXPECT_LT(GetTickCount64() - start, 1000U);
        EXPECT_TRUE(host.Has(L"ThreadEntryWatchConfig end."));
        EXPECT_TRUE(module.Int64(L"Settings.PerformanceLevel"));
        EXPECT_EQ("{\"Edit\":" + std::to_string(i) + "}", ReadBytes(folders.Private(kSettingsName)));
        module.Destroy();
        CloseHandle(reached);
    }
}

TEST(LifecycleStress, AnAbandonedReloadLeavesAWorkingStore) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;
    InitAndWatch(module, host, folders);
    const HANDLE inside = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    host.onReloaded = [&] {
        SetEvent(inside);
        int64_t value = 0;
        for (;;) {
            module.Variables().GetVariableInt64(L"Settings.PerformanceLevel", &value);
        }
    };
    WriteBytes(folders.Private(kSettingsName), R"({"Edit":1})");
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(inside, 10'000));

    module->DoStop();

    EXPECT_EQ(1, module.Int64(L"Settings.PerformanceLevel"));
    EXPECT_EQ(1, module.Int64(L"Edit"));
    CloseHandle(inside);
}

} // namespace
} // namespace zq::test
