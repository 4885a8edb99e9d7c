// Registered hosts: who is notified of which change, in which order, on which thread, and until when.
#include "support/win32/ImportPatch.h"
#include "support/win32/Module.h"
#include "support/win32/ProcessResources.h"
#include "support/win32/VariableHost.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace zq::test {
namespace {

using Expected = std::vector<Notice>;

std::chrono::milliseconds TimeOf(const std::function<void()>& action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
}

// About the second that a delivery thread is given, with some margin for a busy machine.
void ExpectOneSecond(std::chrono::milliseconds time) {
    EXPECT_GE(time.count(), 990);
    EXPECT_LE(time.count(), 4000);
}

// The DLL's waits for a thread to end.
class EndWaits {
public:
    EndWaits() : m_patch(LoadModuleDll(), "kernel32.dll", "WaitForSingleObject", AsProc(WaitAndSignal)) {
        ResetEvent(Begun());
    }

    void WaitForOne() const { EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(Begun(), 10'000)); }

private:
    static constexpr DWORD kEndMilliseconds = 1000;

    static HANDLE Begun() {
        static const HANDLE begun = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        return begun;
    }

    static DWORD WINAPI WaitAndSignal(HANDLE object, DWORD milliseconds) {
        if (milliseconds == kEndMilliseconds) {
            SetEvent(Begun());
        }
        return WaitForSingleObject(object, milliseconds);
    }

    ImportPatch m_patch;
};

class Hosts : public testing::Test {
protected:
    bool WaitForBoth(size_t count) {
        return WaitFor([&] { return a.Count() >= count && b.Count() >= count; });
    }

    // Runs on its own thread: whether the module still answers.
    bool Answers() {
        std::atomic<bool> isDone{false};
        std::thread thread([&] {
            variables.SetVariableInt64(L"Answer", 1, nullptr, 1);
            variables.SetVariableInt64(L"Answer", 2, nullptr, 1);
            isDone = module.Int64(L"Answer") == 2;
        });
        const bool isAnswering = WaitFor([&] { return isDone.load(); });
        if (isAnswering) {
            thread.join();
        } else {
            thread.detach();
        }
        return isAnswering;
    }

    NoticeHost a;
    NoticeHost b;
    Module module;
    CZQVariable& variables = module.Variables();
};

TEST_F(Hosts, AHostRegisteredTwiceIsNotifiedOnce) {
    variables.RegisterHost(&a);
    variables.RegisterHost(&a);
    variables.RegisterHost(&b);

    variables.SetVariableInt64(L"A", 1, nullptr, 0);
    variables.SetVariableInt64(L"B", 1, nullptr, 0);
    ASSERT_TRUE(WaitForBoth(2));

    EXPECT_EQ((Expected{{L"A", 2, nullptr}, {L"B", 2, nullptr}}), a.Notices());
    variables.UnregisterHost(&a);
    variables.SetVariableInt64(L"C", 1, nullptr, 0);
    ASSERT_TRUE(WaitFor([&] { return b.Count() == 3; }));
    EXPECT_EQ(2u, a.Count());
}

TEST_F(Hosts, EveryHostExceptTheSourceIsNotified) {
    variables.RegisterHost(&a);
    variables.RegisterHost(&b);

    variables.SetVariableInt64(L"A", 1, &a, 0);
    variables.SetVariableInt64(L"A", 2, nullptr, 0);
    ASSERT_TRUE(WaitFor([&] { return b.Count() == 2 && a.Count() == 1; }));

    EXPECT_EQ((Expected{{L"A", 2, &a}, {L"A", 2, nullptr}}), b.Notices());
    EXPECT_EQ((Expected{{L"A", 2, nullptr}}), a.Notices());
}

TEST_F(Hosts, ThreeQuickChangesAreThreeNoticesInOrder) {
    variables.RegisterHost(&a);
    variables.RegisterHost(&b);
    std::vector<int64_t> values;
    b.onNotice = [&](const Notice& notice) {
        EXPECT_EQ(L"A", notice.name);
        values.push_back(*module.Int64(L"A"));
    };

    for (int64_t i = 1; i <= 3; ++i) {
        variables.SetVariableInt64(L"A", i, nullptr, 0);
    }
    ASSERT_TRUE(WaitForBoth(3));
    variables.UnregisterHost(&b);

    EXPECT_EQ((Expected(3, Notice{L"A", 2, nullptr})), a.Notices());
    EXPECT_EQ(3u, values.size());
    EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
}

TEST_F(Hosts, AVariableWithAnEmptyNameIsNotAReload) {
    variables.RegisterHost(&a);

    variables.SetVariableInt64(L"", 1, nullptr, 0);

    ASSERT_TRUE(WaitFor([&] { return a.Count() == 1; }));
    EXPECT_EQ((std::vector<Notice>{{L"", VariableTypeInt64, nullptr}}), a.Notices());
}

TEST_F(Hosts, ANewHostIsNotNotifiedOfWhatExists) {
    variables.SetVariableInt64(L"Old", 1, nullptr, 0);
    variables.RegisterHost(&a);

    variables.SetVariableInt64(L"New", 1, nullptr, 0);
    ASSERT_TRUE(WaitFor([&] { return a.Count() == 1; }));

    EXPECT_EQ((Expected{{L"New", 2, nullptr}}), a.Notices());
}

TEST_F(Hosts, EachHostIsNotifiedOnItsOwnThread) {
    variables.RegisterHost(&a);
    variables.RegisterHost(&b);

    variables.SetVariableInt64(L"A", 1, nullptr, 0);
    ASSERT_TRUE(WaitForBoth(1));

    EXPECT_NE(a.ThreadId(), b.ThreadId());
    EXPECT_NE(GetCurrentThreadId(), a.ThreadId());
    EXPECT_NE(GetCurrentThreadId(), b.ThreadId());
}

TEST_F(Hosts, ACallbackMayUseTheWholeInterface) {
    NoticeHost late;
    a.onNotice = [&](const Notice& notice) {
        if (notice.name != L"Start") {
            return;
        }
        variables.SetVariableInt64(L"Echo", *module.Int64(L"Start"), &a, 0);
        variables.RegisterHost(&late);
        variables.UnregisterHost(&late);
        size_t size = 0;
        void* packet = variables.PackAllVariables(&size);
        variables.UnpackVariables(packet, size, &a);
        HeapFree(GetProcessHeap(), 0, packet);
        variables.SetVariableString(L"Done", L"", &a, 0);
    };
    variables.RegisterHost(&a);
    variables.RegisterHost(&b);

    variables.SetVariableInt64(L"Start", 7, nullptr, 0);
    ASSERT_TRUE(WaitFor([&] { return b.Count() == 3; }));

    EXPECT_EQ((Expected{{L"Start", 2, nullptr}, {L"Echo", 2, &a}, {L"Done", 4, &a}}), b.Notices());
    EXPECT_EQ((Expected{{L"Start", 2, nullptr}}), a.Notices());
    EXPECT_EQ(7, module.Int64(L"Echo"));
}

TEST_F(Hosts, AHostMayUnregisterAnotherFromItsCallback) {
    a.onNotice = [&](const Notice&) { variables.UnregisterHost(&b); };
    variables.RegisterHost(&a);
    variables.RegisterHost(&b);

    variables.SetVariableInt64(L"A", 1, &b, 0);
    ASSERT_TRUE(WaitFor([&] { return a.Count() == 1; }));
    variables.UnregisterHost(&a);
    variables.SetVariableInt64(L"A", 2, nullptr, 0);

    EXPECT_EQ(0u, b.Count());
}

TEST_F(Hosts, UnregisteringAnUnknownHostChangesNothing) {
    variables.RegisterHost(&a);

    variables.UnregisterHost(&b);
    variables.UnregisterHost(nullptr);

    variables.SetVariableInt64(L"A", 1, nullptr, 0);
    EXPECT_TRUE(WaitFor([&] { return a.Count() == 1; }));
}

TEST_F(Hosts, ANullHostIsHarmless) {
    variables.RegisterHost(nullptr);
    variables.SetVariableInt64(L"A", 1, nullptr, 0);
    variables.RegisterHost(&a);
    variables.SetVariableInt64(L"A", 2, nullptr, 0);

    EXPECT_TRUE(WaitFor([&] { return a.Count() == 1; }));
    EXPECT_LT(TimeOf([&] { variables.UnregisterHost(nullptr); }).count(), 900);
}

TEST_F(Hosts, ABatchUnderDeliveryIsFinishedBeforeUnregisterReturns) {
    HANDLE mayGoOn = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    a.onNotice = [&](const Notice&) { WaitForSingleObject(mayGoOn, 5000); };
    variables.RegisterHost(&a);
    variables.SetVariableInt64(L"A", 0, nullptr, 0);
    ASSERT_TRUE(WaitFor([&] { return a.Count() == 1; }));

    const EndWaits waits;
    std::thread release([&] {
        waits.WaitForOne();
        SetEvent(mayGoOn);
    });
    variables.UnregisterHost(&a);
    const DWORD thread = a.ThreadId();
    release.join();
    CloseHandle(mayGoOn);

    EXPECT_EQ(1u, a.Count());
    EXPECT_EQ(nullptr, OpenThread(SYNCHRONIZE, FALSE, thread));
}

TEST_F(Hosts, UndeliveredNoticesAreDroppedByUnregister) {
    HANDLE mayGoOn = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    a.onNotice = [&](const Notice&) { WaitForSingleObject(mayGoOn, 5000); };
    variables.RegisterHost(&a);
    variables.SetVariableInt64(L"A", 0, nullptr, 0);
    ASSERT_TRUE(WaitFor([&] { return a.Count() == 1; }));
    for (int64_t i = 1; i <= 100; ++i) {
        variables.SetVariableInt64(L"A", i, nullptr, 0);
    }

    const EndWaits waits;
    std::thread release([&] {
        waits.WaitForOne();
        SetEvent(mayGoOn);
    });
    variables.UnregisterHost(&a);
    release.join();
    CloseHandle(mayGoOn);

    EXPECT_EQ(1u, a.Count());
}

TEST_F(Hosts, ABlockedCallbackIsTerminatedAfterOneSecond) {
    BlockingHost blocking;
    variables.RegisterHost(&blocking);
    variables.RegisterHost(&a);
    variables.SetVariableInt64(L"A", 1, nullptr, 0);
    ASSERT_TRUE(blocking.WaitUntilEntered());
    const size_t threads = ThreadCount();

    ExpectOneSecond(TimeOf([&] { variables.UnregisterHost(&blocking); }));

    EXPECT_TRUE(WaitFor([&] { return ThreadCount() == threads - 1; }));
    EXPECT_TRUE(Answers());
}

TEST_F(Hosts, AThreadThatDiesInsideAGetterLeavesTheModuleAnswering) {
    BlockingHost blocking(
        [](void* argument) {
            int64_t value = 0;
            static_cast<CZQVariable*>(argument)->GetVariableInt64(L"A", &value);
        },
        &variables);
    variables.RegisterHost(&blocking);
    variables.SetVariableInt64(L"A", 1, nullptr, 0);
    ASSERT_TRUE(blocking.WaitUntilEntered());

    ExpectOneSecond(TimeOf([&] { variables.UnregisterHost(&blocking); }));

    EXPECT_GT(blocking.Rounds(), 0);
    EXPECT_TRUE(Answers());
}

// In each round the thread dies somewhere else: in the maps, in the list, in a queue, in the heap.
TEST_F(Hosts, AThreadThatDiesInsideASetterLeavesTheModuleAnswering) {
    variables.RegisterHost(&a);
    for (int round = 0; round < 3; ++round) {
        BlockingHost blocking(
            [](void* argument) {
                static std::atomic<int> next{0};
                const std::wstring name = L"Name" + std::to_wstring(next++ % 500);
                static const char bytes[100] = {};
                auto* setter = static_cast<CZQVariable*>(argument);
                setter->SetVariableString(name.c_str(), name.c_str(), nullptr, 1);
                setter->SetVariableBinary(name.c_str(), sizeof(bytes), bytes, nullptr, 0);
                setter->SetVariableBinary(name.c_str(), 0, nullptr, nullptr, 0);
            },
            &variables);
        variables.RegisterHost(&blocking);
        variables.SetVariableInt64(L"A", round, nullptr, 0);
        ASSERT_TRUE(blocking.WaitUntilEntered());

        ExpectOneSecond(TimeOf([&] { variables.UnregisterHost(&blocking); }));

        EXPECT_GT(blocking.Rounds(), 0);
        ASSERT_TRUE(Answers());
        ASSERT_TRUE(HeapValidate(GetProcessHeap(), 0, nullptr));
    }
}

TEST_F(Hosts, AHostThatUnregistersItselfLosesItsThreadButNotTheModule) {
    variables.RegisterHost(&b);
    a.onNotice = [&](const Notice&) { variables.UnregisterHost(&a); };
    variables.RegisterHost(&a);
    variables.SetVariableInt64(L"A", 1, nullptr, 0);
    ASSERT_TRUE(WaitFor([&] { return a.Count() == 1; }));
    const HANDLE thread = OpenThread(SYNCHRONIZE, FALSE, a.ThreadId());

    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread, 5000));
    CloseHandle(thread);

    EXPECT_TRUE(Answers());
    EXPECT_TRUE(WaitFor([&] { return b.Count() >= 3; }));
    EXPECT_EQ(1u, a.Count());
}

TEST_F(Hosts, DestroyingTheModuleEndsTheHostsInTheOrderOfTheirRegistration) {
    BlockingHost first;
    BlockingHost second;
    Module other;
    other.Variables().RegisterHost(&first);
    other.Variables().RegisterHost(&second);
    other.Variables().RegisterHost(&a);
    other.Variables().SetVariableInt64(L"A", 1, nullptr, 0);
    ASSERT_TRUE(first.WaitUntilEntered());
    ASSERT_TRUE(second.WaitUntilEntered());
    ASSERT_TRUE(WaitFor([&] { return a.Count() == 1; }));
    const HANDLE last = OpenThread(SYNCHRONIZE, FALSE, a.ThreadId());
    const size_t threads = ThreadCount();
    size_t threadsAfterOneSecond = 0;
    DWORD lastAfterOneSecond = WAIT_FAILED;
    std::thread watcher([&] {
        WaitFor([&] { return ThreadCount() == threads; }); // this thread instead of the first host's
        threadsAfterOneSecond = ThreadCount();
        lastAfterOneSecond = WaitForSingleObject(last, 0);
    });

    const auto time = TimeOf([&] { other.Destroy(); });
    watcher.join();

    EXPECT_GE(time.count(), 1990);
    EXPECT_LE(time.count(), 6000);
    EXPECT_EQ(threads, threadsAfterOneSecond);
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), lastAfterOneSecond);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(last, 0));
    CloseHandle(last);
}

TEST_F(Hosts, ACallbackThatSetsWhileTheModuleIsDestroyedIsEnded) {
    Module other;
    BlockingHost setting(
        [](void* argument) {
            static int64_t next = 0;
            static_cast<CZQVariable*>(argument)->SetVariableInt64(L"B", ++next, nullptr, 0);
        },
        &other.Variables());
    other.Variables().RegisterHost(&setting);
    other.Variables().RegisterHost(&a);
    other.Variables().SetVariableInt64(L"A", 1, nullptr, 0);
    ASSERT_TRUE(setting.WaitUntilEntered());

    ExpectOneSecond(TimeOf([&] { other.Destroy(); }));

    EXPECT_TRUE(HeapValidate(GetProcessHeap(), 0, nullptr));
}

TEST_F(Hosts, TheirHandlesThreadsAndMemoryAreFreed) {
    const auto registerAll = [&] {
        variables.RegisterHost(&a);
        variables.RegisterHost(&b);
        variables.SetVariableInt64(L"A", 1, nullptr, 1);
        variables.UnregisterHost(&a);
        variables.UnregisterHost(&b);
    };
    registerAll();
    const size_t handles = HandleCount();
    const size_t threads = ThreadCount();

    for (int i = 0; i < 50; ++i) {
        registerAll();
    }

    EXPECT_TRUE(WaitFor([&] { return ThreadCount() <= threads; }));
    EXPECT_TRUE(WaitFor([&] { return HandleCount() <= handles; }));
}

} // namespace
} // namespace zq::test
