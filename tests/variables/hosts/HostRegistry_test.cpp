// Hosts that come and go on several threads at once.
#include "variables/hosts/HostRegistry.h"

#include "platform/Event.h"
#include "support/win32/BlockedThread.h"
#include "support/win32/VariableHost.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>

namespace zq::test {
namespace {

constexpr DWORD kNoticeCap = 10'000;

// Stays inside its callback until it is released.
class SlowHost final : public CZQVariableHost {
public:
    void OnVariableChanged(const wchar_t*, uint32_t, CZQVariableHost*) override { Call(); }
    void OnVariablesReloaded() override { Call(); }

    bool WaitUntilInside() const { return m_inside.Wait(kNoticeCap); }
    void Release() const { m_release.Set(); }

    std::atomic<int> running{0};
    std::atomic<int> mostAtOnce{0};
    std::atomic<int> calls{0};
    // Called inside the callback, after it was released.
    std::function<void()> onRelease;

private:
    void Call() {
        mostAtOnce = std::max<int>(mostAtOnce, ++running);
        ++calls;
        m_inside.Set();
        m_release.Wait(kNoticeCap);
        if (onRelease) {
            onRelease();
        }
        --running;
    }

    Event m_inside{EventReset::Manual};
    Event m_release{EventReset::Manual};
};

class Registry : public testing::Test {
protected:
    // Up to where a callback of the host runs.
    void Enter(SlowHost& host) {
        m_hosts.RegisterHost(&host);
        m_hosts.NotifyHostsReloaded();
        ASSERT_TRUE(host.WaitUntilInside());
    }
    // Unregisters on another thread, and notes whether a callback ran when that returned.
    std::function<void()> Unregister(SlowHost& host, std::atomic<bool>& wasRunning) {
        return [this, &host, &wasRunning] {
            m_hosts.UnregisterHost(&host);
            wasRunning = host.running > 0;
        };
    }

    Mutex m_mutex;
    HostRegistry m_hosts{m_mutex, {}};
};

TEST_F(Registry, TwoThreadsThatUnregisterOneHostBothWaitForItsCallback) {
    SlowHost host;
    std::atomic<bool> wasRunningFirst{true};
    std::atomic<bool> wasRunningSecond{true};
    Enter(host);
    {
        const BlockedThread first(Unregister(host, wasRunningFirst));
        ASSERT_TRUE(first.WaitUntilBlocked());
        const BlockedThread second(Unregister(host, wasRunningSecond));
        EXPECT_TRUE(second.WaitUntilBlocked());
        EXPECT_TRUE(host.running);
        host.Release();
    }

    EXPECT_FALSE(wasRunningFirst);
    EXPECT_FALSE(wasRunningSecond);
    EXPECT_EQ(1, host.calls);
}

TEST_F(Registry, AHostThatIsRegisteredInThatWindowHasOneThreadAtATime) {
    SlowHost host;
    std::atomic<bool> wasRunning{true};
    Enter(host);
    {
        const BlockedThread leaving(Unregister(host, wasRunning));
        ASSERT_TRUE(leaving.WaitUntilBlocked());
        const BlockedThread coming([&] {
            m_hosts.RegisterHost(&host);
            m_hosts.NotifyHostsReloaded();
        });
        EXPECT_TRUE(coming.WaitUntilBlocked());
        host.Release();
    }

    EXPECT_TRUE(WaitFor([&] { return host.calls == 2; }));
    EXPECT_EQ(1, host.mostAtOnce);
    m_hosts.UnregisterHost(&host);
}

TEST_F(Registry, ManyThreadsMayWaitForOneHost) {
    SlowHost host;
    Enter(host);
    std::atomic<bool> wasRunning[3] = {true, true, true};
    {
        const BlockedThread first(Unregister(host, wasRunning[0]));
        ASSERT_TRUE(first.WaitUntilBlocked());
        const BlockedThread second(Unregister(host, wasRunning[1]));
        const BlockedThread third(Unregister(host, wasRunning[2]));
        EXPECT_TRUE(second.WaitUntilBlocked());
        EXPECT_TRUE(third.WaitUntilBlocked());
        host.Release();
    }

    for (const std::atomic<bool>& was : wasRunning) {
        EXPECT_FALSE(was);
    }
}

TEST_F(Registry, ACallbackMayUnregisterAHostThatIsAlreadyLeaving) {
    SlowHost host;
    std::atomic<bool> wasRunning{true};
    std::atomic<bool> hasReturned{false};
    host.onRelease = [&] {
        m_hosts.UnregisterHost(&host);
        hasReturned = true;
    };
    Enter(host);
    {
        const BlockedThread leaving(Unregister(host, wasRunning));
        ASSERT_TRUE(leaving.WaitUntilBlocked());
        host.Release();
    }

    EXPECT_TRUE(hasReturned);
    EXPECT_FALSE(wasRunning);
}

TEST_F(Registry, ACallbackThatRegistersAHostThatIsLeavingChangesNothing) {
    SlowHost host;
    NoticeHost witness;
    std::atomic<bool> wasRunning{true};
    host.onRelease = [&] { m_hosts.RegisterHost(&host); };
    Enter(host);
    m_hosts.RegisterHost(&witness);
    {
        const BlockedThread leaving(Unregister(host, wasRunning));
        ASSERT_TRUE(leaving.WaitUntilBlocked());
        host.Release();
    }
    m_hosts.NotifyHostsReloaded();

    EXPECT_TRUE(WaitFor([&] { return witness.Count() == 1; }));
    EXPECT_EQ(1, host.calls);
    m_hosts.UnregisterHost(&witness);
}

TEST_F(Registry, NotifyingNeverWaitsForAHostThatIsLeaving) {
    SlowHost host;
    NoticeHost other;
    std::atomic<bool> wasRunning{true};
    Enter(host);
    m_hosts.RegisterHost(&other);
    {
        const BlockedThread leaving(Unregister(host, wasRunning));
        ASSERT_TRUE(leaving.WaitUntilBlocked());
        m_hosts.NotifyHosts(L"Name", VariableTypeBool, nullptr);
        EXPECT_TRUE(WaitFor([&] { return other.Count() == 1; }));
        EXPECT_TRUE(host.running);
        host.Release();
    }

    EXPECT_EQ(1, host.calls);
    m_hosts.UnregisterHost(&other);
}

TEST_F(Registry, OtherHostsComeAndGoMeanwhile) {
    SlowHost host;
    NoticeHost other;
    std::atomic<bool> wasRunning{true};
    Enter(host);
    const BlockedThread leaving(Unregister(host, wasRunning));
    ASSERT_TRUE(leaving.WaitUntilBlocked());

    m_hosts.RegisterHost(&other);
    m_hosts.NotifyHostsReloaded();
    EXPECT_TRUE(WaitFor([&] { return other.Count() == 1; }));
    m_hosts.UnregisterHost(&other);

    EXPECT_TRUE(host.running);
    host.Release();
}

const Event g_terminating{EventReset::Auto};

BOOL WINAPI TerminateAndReport(HANDLE thread, DWORD code) {
    static const auto terminate = reinterpret_cast<decltype(&TerminateThread)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "TerminateThread")));
    g_terminating.Set();
    return terminate(thread, code);
}

TEST_F(Registry, AHostThatUnregistersItselfInACallbackCanComeBack) {
    const ImportPatch patch(nullptr, "kernel32.dll", "TerminateThread", AsProc(TerminateAndReport));
    SlowHost host;
    std::atomic<bool> hasReturned{false};
    host.onRelease = [&] {
        m_hosts.UnregisterHost(&host);
        hasReturned = true;
    };
    Enter(host);
    host.Release();

    // Its thread ends inside the callback; another one may wait for that.
    ASSERT_TRUE(g_terminating.Wait(kNoticeCap));
    m_hosts.UnregisterHost(&host);
    EXPECT_FALSE(hasReturned);
    EXPECT_EQ(1, host.calls);

    host.onRelease = nullptr;
    m_hosts.RegisterHost(&host);
    m_hosts.NotifyHostsReloaded();
    EXPECT_TRUE(WaitFor([&] { return host.calls == 2; }));
    m_hosts.UnregisterHost(&host);
}

TEST_F(Registry, AStuckHostIsLeftWithin1200Milliseconds) {
    BlockingHost stuck;
    m_hosts.RegisterHost(&stuck);
    m_hosts.NotifyHostsReloaded();
    ASSERT_TRUE(stuck.WaitUntilEntered());
    const ULONGLONG start = GetTickCount64();
    {
        const BlockedThread first([&] { m_hosts.UnregisterHost(&stuck); });
        ASSERT_TRUE(first.WaitUntilBlocked());
        m_hosts.UnregisterHost(&stuck);
    }

    EXPECT_GE(GetTickCount64() - start, 980U);
    EXPECT_LE(GetTickCount64() - start, 1200U + 800U); // a busy machine
}

} // namespace
} // namespace zq::test
