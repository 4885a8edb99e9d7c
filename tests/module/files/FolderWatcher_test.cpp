// The watcher's thread on a real folder: whether it waits for the right things. What it does with a notice is
// tested with the follower, on a simulated clock.
#include "module/files/FolderWatcher.h"

#include "module/files/FilesFixture.h"
#include "platform/Thread.h"
#include "support/win32/ImportPatch.h"

#include <atomic>
#include <filesystem>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kWatchCap = 20'000;

class WatcherThread : public FilesFixture {
protected:
    ~WatcherThread() override { Stop(); }

    void Start() {
        StartLoaded();
        m_thread.Start(
            [](void* watcher) -> DWORD {
                static_cast<FolderWatcher*>(watcher)->ThreadEntryWatchConfig();
                return 7;
            },
            &m_watcher, {m_stop.Get()});
    }
    // Waits until every further edit causes a notice.
    void StartAndWatch() {
        Start();
        ASSERT_TRUE(m_requested.Wait(kWatchCap));
    }
    void Stop() {
        m_watcher.PrepareStop();
        EXPECT_TRUE(m_thread.EndsAfter(m_stop.Get()));
    }
    bool Ends() {
        for (int i = 0; i < 1000 && m_thread.IsRunning(); ++i) {
            m_requested.Wait(10);
        }
        return !m_thread.IsRunning();
    }

    std::vector<LogLine> LinesOf(std::initializer_list<LogLine> lines) const { return lines; }

    const std::wstring m_folder = folders.DataDir().wstring() + L"\\";
    FilesContext m_systemContext{store, log, SystemClock()};
    Event m_stop{EventReset::Manual};
    Event m_requested{EventReset::Auto};
    Event m_passed{EventReset::Auto};
    std::atomic<int> m_notified{0};
    std::atomic<int> m_requests{0};
    FolderWatcher m_watcher{files,
                            m_systemContext,
                            {m_folder, m_stop, [this] { ++m_notified; }, [this] { m_passed.Set(); },
                             [this] {
                                 ++m_requests;
                                 m_requested.Set();
                             }}};
    Thread m_thread;
};

const LogLine kBeginLine{LogProgress, L"ThreadEntryWatchConfig begin."};
const LogLine kOpenLine{LogProgress, L"CreateFile to programdata folder success."};
const LogLine kEndLine{LogProgress, L"ThreadEntryWatchConfig end."};

TEST_F(WatcherThread, AStopEndsItAtOnceWithItsMessages) {
    StartAndWatch();

    Stop();

    EXPECT_EQ(LinesOf({kBeginLine, kOpenLine, kEndLine}), host.Lines());
}

TEST_F(WatcherThread, AnEarlierStopEndsItToo) {
    m_stop.Set();
    Write(ConfigFile::Settings, "{}");

    Start();

    EXPECT_TRUE(Ends());
    EXPECT_EQ(LinesOf({kBeginLine, kOpenLine, kEndLine}), host.Lines());
}

TEST_F(WatcherThread, AnEditIsLoadedAndThenReportedOnce) {
    StartAndWatch();

    fs::rename(DefaultOf(ConfigFile::Settings), PathOf(ConfigFile::Settings));

    ASSERT_TRUE(m_passed.Wait(kWatchCap));
    EXPECT_EQ(L"default", String(L"Source"));
    EXPECT_EQ(1, m_notified);
}

TEST_F(WatcherThread, AnEditBeforeTheStartIsLoaded) {
    StartLoaded();
    Write(ConfigFile::Settings, R"({"Source":"edit"})");
    m_thread.Start(
        [](void* watcher) -> DWORD {
            static_cast<FolderWatcher*>(watcher)->ThreadEntryWatchConfig();
            return 7;
        },
        &m_watcher, {m_stop.Get()});

    ASSERT_TRUE(m_passed.Wait(kWatchCap));

    EXPECT_EQ(L"edit", String(L"Source"));
}

TEST_F(WatcherThread, AChangeOfAnotherFileOnlyRenewsTheRequest) {
    StartAndWatch();

    WriteBytes(folders.DataDir() / L"other.txt", "x");

    ASSERT_TRUE(m_requested.Wait(kWatchCap));
    Stop();
    EXPECT_EQ(LinesOf({kBeginLine, kOpenLine, kEndLine}), host.Lines());
}

TEST_F(WatcherThread, ABrokenFileIsReplacedWithinASecondWithoutAFurtherNotice) {
    StartAndWatch();
    const uint64_t start = GetTickCount64();

    WriteBytes(folders.Outside(L"new"), "broken");
    fs::rename(folders.Outside(L"new"), PathOf(ConfigFile::Settings));

    ASSERT_TRUE(m_passed.Wait(kWatchCap));
    EXPECT_GE(GetTickCount64() - start, 700U - 16U);
    EXPECT_EQ(DefaultContent(ConfigFile::Settings), Content(ConfigFile::Settings));
}

TEST_F(WatcherThread, AHeldFileIsLoadedOnceItIsFree) {
    StartAndWatch();
    WriteBytes(folders.Outside(L"new"), R"({"Source":"edit"})");
    UniqueHandle held = Hold(folders.Outside(L"new"), GENERIC_READ, FILE_SHARE_DELETE);
    fs::rename(folders.Outside(L"new"), PathOf(ConfigFile::Settings));
    // The pass runs without it.
    ASSERT_TRUE(m_passed.Wait(kWatchCap));
    EXPECT_EQ(L"user", String(L"Source"));

    held.reset();

    ASSERT_TRUE(m_passed.Wait(kWatchCap));
    EXPECT_EQ(L"edit", String(L"Source"));
}

TEST_F(WatcherThread, AMissingFolderEndsItWithItsMessage) {
    StartLoaded();
    fs::remove_all(folders.DataDir());
    m_watcher.ThreadEntryWatchConfig();

    EXPECT_EQ(LinesOf({kBeginLine, {LogFailure, L"Fail to CreateFile on programdata folder."}}),
              host.Lines());
}

TEST_F(WatcherThread, NoticesOfOtherFilesDoNotHoldUpARepair) {
    StartAndWatch();
    WriteBytes(folders.Outside(L"new"), "broken");
    fs::rename(folders.Outside(L"new"), PathOf(ConfigFile::Settings));

    bool isRepaired = false;
    for (int i = 0; i < 100 && !isRepaired; ++i) {
        WriteBytes(folders.DataDir() / L"other.txt", "x");
        isRepaired = m_passed.Wait(50);
    }
    EXPECT_TRUE(isRepaired);
}

// On the simulated clock: the stop is signalled when the watcher has looked at the files for the first time.
TEST_F(WatcherThread, ALoadIsAbandoned800MillisecondsAfterTheStop) {
    StartLoaded();
    FolderWatcher watcher(files, context, {m_folder, m_stop, [] {}, [] {}, [this] { m_stop.Set(); }});
    const auto source = [&](const char* text, uint64_t milliseconds) {
        Write(ConfigFile::Settings, text);
        watcher.PrepareStop();
        clock.Advance(milliseconds);
        m_stop.Reset();
        watcher.ThreadEntryWatchConfig();
        return String(L"Source");
    };

    EXPECT_EQ(L"user", source(R"({"Source":"edit"})", 800));
    EXPECT_EQ(L"edit", source(R"({"Source":"edit"})", 799));
}

BOOL WINAPI RefuseChanges(HANDLE, LPVOID, DWORD, BOOL, DWORD, LPDWORD, LPOVERLAPPED,
                          LPOVERLAPPED_COMPLETION_ROUTINE) {
    SetLastError(ERROR_INVALID_FUNCTION);
    return FALSE;
}

TEST_F(WatcherThread, ARequestThatFailsEndsItWithTheError) {
    StartLoaded();
    {
        const ImportPatch patch(nullptr, "kernel32.dll", "ReadDirectoryChangesW", AsProc(RefuseChanges));
        m_watcher.ThreadEntryWatchConfig();
    }

    EXPECT_EQ(
        LinesOf({kBeginLine, kOpenLine, {LogFailure, L"Fail to ReadDirectoryChangesW, error = 1"}, kEndLine}),
        host.Lines());
    EXPECT_EQ(0, m_requests);
}

TEST_F(WatcherThread, ATerminatedWatcherLeavesTheFolderClosed) {
    StartAndWatch();
    Event never{EventReset::Manual};
    Event inside{EventReset::Auto};
    host.onLog = [&](const LogLine&) {
        inside.Set();
        never.Wait(INFINITE);
    };
    fs::rename(DefaultOf(ConfigFile::Settings), PathOf(ConfigFile::Settings));
    ASSERT_TRUE(inside.Wait(kWatchCap));
    EXPECT_FALSE(m_thread.EndsAfter(m_stop.Get()));

    m_thread.Terminate({});
    m_watcher.CloseAfterTermination();

    for (const ConfigFile kind : kConfigFiles) {
        fs::remove(PathOf(kind));
    }
    EXPECT_TRUE(RemoveDirectoryW(folders.DataDir().c_str())) << GetLastError();
    host.onLog = nullptr;
}

TEST_F(WatcherThread, ItCanRunAgainAfterItEnded) {
    StartAndWatch();
    Stop();
    m_stop.Reset();
    StartAndWatch();

    fs::rename(DefaultOf(ConfigFile::Settings), PathOf(ConfigFile::Settings));

    EXPECT_TRUE(m_passed.Wait(kWatchCap));
    EXPECT_EQ(L"default", String(L"Source"));
}

} // namespace
} // namespace zq::test
