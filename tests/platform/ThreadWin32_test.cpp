#include "platform/Thread.h"

#include "platform/Event.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <utility>

namespace zq {
namespace {

struct Shared {
    Event stop{EventReset::Manual};
    Event entered{EventReset::Manual};
    Event never{EventReset::Manual};
    Mutex mutex;
    std::array<std::atomic<int>, 2> halves{};
};

DWORD WINAPI EndWhenAsked(void* shared) {
    static_cast<Shared*>(shared)->stop.Wait(INFINITE);
    return 7;
}

DWORD WINAPI BlockForEver(void* shared) {
    static_cast<Shared*>(shared)->entered.Set();
    static_cast<Shared*>(shared)->never.Wait(INFINITE);
    return 7;
}

DWORD WINAPI HoldForEver(void* shared) {
    MutexLock lock(static_cast<Shared*>(shared)->mutex);
    return BlockForEver(shared);
}

DWORD WINAPI WriteForEver(void* argument) {
    auto* shared = static_cast<Shared*>(argument);
    shared->entered.Set();
    for (;;) {
        MutexLock lock(shared->mutex);
        ++shared->halves[0];
        for (int i = 0; i < 1000; ++i) {
            ++shared->halves[1];
            --shared->halves[1];
        }
        ++shared->halves[1];
    }
}

DWORD WINAPI AllocateForEver(void* argument) {
    static_cast<Shared*>(argument)->entered.Set();
    for (;;) {
        auto* memory = static_cast<volatile char*>(HeapAlloc(GetProcessHeap(), 0, 5000));
        for (int i = 0; i < 5000; ++i) {
            memory[i] = 'x';
        }
        HeapFree(GetProcessHeap(), 0, const_cast<char*>(memory));
    }
}

class ThreadStop : public testing::Test {
protected:
    std::chrono::milliseconds Stop(Thread& thread, std::span<const Mutex* const> guards = {}) {
        const auto start = std::chrono::steady_clock::now();
        if (!thread.EndsAfter(shared.stop.Get())) {
            thread.Terminate(guards);
        }
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                     start);
    }

    bool IsFree(const Mutex& mutex) {
        const HANDLE taker = CreateThread(
            nullptr, 0,
            [](void* argument) -> DWORD {
                MutexLock lock(*static_cast<const Mutex*>(argument));
                return 0;
            },
            const_cast<Mutex*>(&mutex), 0, nullptr);
        const bool isFree = WaitForSingleObject(taker, 5000) == WAIT_OBJECT_0;
        CloseHandle(taker);
        return isFree;
    }

    Shared shared;
};

TEST_F(ThreadStop, EndsAThreadThatWaitsForItsEventAtOnce) {
    Thread thread;
    thread.Start(EndWhenAsked, &shared, {});

    EXPECT_LT(Stop(thread).count(), 900);
}

TEST_F(ThreadStop, DoesNothingWithoutAThreadOrASecondTime) {
    Thread thread;
    EXPECT_LT(Stop(thread).count(), 900);
    EXPECT_FALSE(shared.stop.Wait(0));

    thread.Start(EndWhenAsked, &shared, {});
    Stop(thread);
    EXPECT_LT(Stop(thread).count(), 900);
}

TEST_F(ThreadStop, AThreadWithoutItsEventsIsNotStarted) {
    Thread thread;
    thread.Start(BlockForEver, &shared, {shared.stop.Get(), nullptr});

    EXPECT_FALSE(shared.entered.Wait(50));
    EXPECT_LT(Stop(thread).count(), 900);
}

TEST_F(ThreadStop, TerminatesAStuckThreadAfterOneSecond) {
    Thread thread;
    thread.Start(BlockForEver, &shared, {});
    ASSERT_TRUE(shared.entered.Wait(5000));

    const auto time = Stop(thread);

    EXPECT_GE(time.count(), 990);
    EXPECT_LE(time.count(), 4000);
    EXPECT_FALSE(thread.IsRunning());
}

TEST_F(ThreadStop, AMutexWhoseOwnerWasTerminatedIsTakenOver) {
    Thread thread;
    thread.Start(HoldForEver, &shared, {});
    ASSERT_TRUE(shared.entered.Wait(5000));

    Stop(thread);

    EXPECT_TRUE(IsFree(shared.mutex));
}

TEST_F(ThreadStop, TheVictimIsNotInsideAGuardWhileItDies) {
    const Mutex* const guards[] = {&shared.mutex};
    Thread thread;
    thread.Start(WriteForEver, &shared, {});
    ASSERT_TRUE(shared.entered.Wait(5000));

    Stop(thread, guards);

    EXPECT_TRUE(IsFree(shared.mutex));
    EXPECT_EQ(shared.halves[0], shared.halves[1]);
}

TEST_F(ThreadStop, TheVictimDoesNotTakeTheHeapWithIt) {
    Thread thread;
    thread.Start(AllocateForEver, &shared, {});
    ASSERT_TRUE(shared.entered.Wait(5000));

    Stop(thread);

    EXPECT_TRUE(HeapValidate(GetProcessHeap(), 0, nullptr));
    void* memory = HeapAlloc(GetProcessHeap(), 0, 100);
    EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, memory));
}

DWORD WINAPI StopItself(void* argument) {
    auto* thread = static_cast<std::pair<Thread*, Shared*>*>(argument);
    thread->second->entered.Wait(INFINITE);
    thread->first->Terminate({});
    return 7;
}

TEST_F(ThreadStop, AThreadThatTerminatesItselfEndsAtOnce) {
    Thread thread;
    std::pair<Thread*, Shared*> argument{&thread, &shared};
    thread.Start(StopItself, &argument, {});
    EXPECT_TRUE(thread.IsRunning());
    EXPECT_FALSE(thread.IsCurrent());

    shared.entered.Set();

    EXPECT_TRUE(test::WaitFor([&] { return !thread.IsRunning(); }));
}

} // namespace
} // namespace zq
