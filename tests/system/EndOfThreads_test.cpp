// How the module's threads end: their exit codes, how long the module waits for them, and what a failed wait
// means. The tests intercept the DLL's calls to the system.
#include "support/win32/ImportPatch.h"
#include "support/win32/Module.h"
#include "support/win32/ProcessResources.h"
#include "support/win32/VariableHost.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>

namespace zq::test {
namespace {

// A thread that can still be queried after its end.
class OpenedThread {
public:
    explicit OpenedThread(DWORD id)
        : m_handle(OpenThread(SYNCHRONIZE | THREAD_QUERY_INFORMATION, FALSE, id)) {}
    ~OpenedThread() { CloseHandle(m_handle); }
    OpenedThread(const OpenedThread&) = delete;
    OpenedThread& operator=(const OpenedThread&) = delete;

    // Returns nothing while it runs.
    std::optional<DWORD> ExitCode() const {
        DWORD code = 0;
        if (WaitForSingleObject(m_handle, 0) != WAIT_OBJECT_0 || !GetExitCodeThread(m_handle, &code)) {
            return std::nullopt;
        }
        return code;
    }

private:
    HANDLE m_handle;
};

// The DLL's calls of WaitForSingleObject with a limit, and of TerminateThread.
class EndCalls {
public:
    EndCalls()
        : m_wait(LoadModuleDll(), "kernel32.dll", "WaitForSingleObject", AsProc(Wait)),
          m_terminate(LoadModuleDll(), "kernel32.dll", "TerminateThread", AsProc(Terminate)) {
        current = this;
    }
    ~EndCalls() { current = nullptr; }
    EndCalls(const EndCalls&) = delete;
    EndCalls& operator=(const EndCalls&) = delete;

    // The result of waits with a limit; without one they go to the system.
    std::optional<DWORD> answer;

    std::vector<DWORD> Limits() const {
        const std::lock_guard lock(m_mutex);
        return m_limits;
    }
    std::vector<DWORD> TerminationCodes() const {
        const std::lock_guard lock(m_mutex);
        return m_codes;
    }

private:
    static DWORD WINAPI Wait(HANDLE handle, DWORD milliseconds) {
        if (milliseconds != INFINITE && milliseconds != 0) {
            {
                const std::lock_guard lock(current->m_mutex);
                current->m_limits.push_back(milliseconds);
            }
            if (current->answer) {
                return *current->answer;
            }
        }
        return Original(current->m_wait, Wait)(handle, milliseconds);
    }
    static BOOL WINAPI Terminate(HANDLE thread, DWORD code) {
        {
            const std::lock_guard lock(current->m_mutex);
            current->m_codes.push_back(code);
        }
        return Original(current->m_terminate, Terminate)(thread, code);
    }
    template <class Function>
    static Function* Original(const ImportPatch& patch, Function*) {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(patch.Original()));
    }

    static inline EndCalls* current = nullptr;
    mutable std::mutex m_mutex;
    std::vector<DWORD> m_limits;
    std::vector<DWORD> m_codes;
    ImportPatch m_wait;
    ImportPatch m_terminate;
};

class EndOfThreads : public testing::Test {
protected:
    EndOfThreads() {
        m_host.onLog = [this](const LogLine& line) {
            if (line.text == L"ThreadEntryWatchConfig begin.") {
                m_watcherId = GetCurrentThreadId();
            }
        };
    }

    // The id of a registered host's thread.
    DWORD ThreadOf(NoticeHost& host) {
        m_module.Variables().RegisterHost(&host);
        m_module.Variables().SetVariableInt64(L"A", ++m_value, nullptr, 0);
        EXPECT_TRUE(WaitFor([&] { return host.Count() == 1; }));
        return host.ThreadId();
    }

    RecordingHost m_host;
    std::atomic<DWORD> m_watcherId{0};
    Module m_module;
    int64_t m_value = 0;
};

TEST_F(EndOfThreads, ADeliveryThreadThatWasAskedToEndLeavesZero) {
    NoticeHost host;
    const OpenedThread thread(ThreadOf(host));
    EXPECT_EQ(std::nullopt, thread.ExitCode());

    m_module.Variables().UnregisterHost(&host);

    EXPECT_EQ(0U, thread.ExitCode());
}

TEST_F(EndOfThreads, ATerminatedDeliveryThreadLeavesZeroAfterAWaitOfOneSecond) {
    const EndCalls calls;
    BlockingHost host;
    m_module.Variables().RegisterHost(&host);
    m_module.Variables().SetVariableInt64(L"A", 1, nullptr, 0);
    ASSERT_TRUE(host.WaitUntilEntered());

    m_module.Variables().UnregisterHost(&host);

    ASSERT_FALSE(calls.Limits().empty());
    EXPECT_EQ(1000U, calls.Limits().front());
    EXPECT_EQ((std::vector<DWORD>{0}), calls.TerminationCodes());
}

TEST_F(EndOfThreads, TheWatchersThreadIsWaitedForOneSecondAndLeavesZero) {
    const EndCalls calls;
    ModuleFolders folders;
    InitAndWatch(m_module, m_host, folders);
    const OpenedThread thread(m_watcherId);

    m_module->DoStop();

    EXPECT_EQ(0U, thread.ExitCode());
    EXPECT_TRUE(calls.TerminationCodes().empty());
    const std::vector<DWORD> limits = calls.Limits();
    EXPECT_EQ(1, std::count(limits.begin(), limits.end(), 1000U));
}

// Only a wait that timed out shows that the thread still runs.
TEST_F(EndOfThreads, AThreadWhoseWaitFailsIsNotTerminated) {
    NoticeHost host;
    const OpenedThread thread(ThreadOf(host));
    {
        EndCalls calls;
        calls.answer = WAIT_FAILED;

        m_module.Variables().UnregisterHost(&host);

        EXPECT_TRUE(calls.TerminationCodes().empty());
    }
    EXPECT_TRUE(WaitFor([&] { return thread.ExitCode() == 0U; }));
}

TEST_F(EndOfThreads, TheObjectsEndLeavesBinariesToDoRelease) {
    constexpr size_t kBytes = 3 << 20;
    const std::vector<char> value(kBytes, 'b');
    const auto heldAfter = [&](bool isReleased) {
        CZQModSettings* settings = CreateFromDll();
        const size_t before = HeapBytes();
        ZQVariables(settings)->SetVariableBinary(L"B", kBytes, value.data(), nullptr, 0);
        if (isReleased) {
            settings->DoRelease();
        }
        ZQDestroy(settings);
        const size_t after = HeapBytes();
        return after > before ? after - before : 0;
    };

    EXPECT_GE(heldAfter(false), kBytes / 2);
    EXPECT_LT(heldAfter(true), kBytes / 2);
}

} // namespace
} // namespace zq::test
