// Threads that are terminated at any moment of what hosts do in a callback, beside other threads that use the
// same heap. Nothing stalls, and nothing is left damaged.
//
// ZQ_TEST_LONG in the environment runs the long forms.
#include "base/HostLog.h"
#include "platform/Event.h"
#include "platform/Mutex.h"
#include "platform/Termination.h"
#include "platform/Thread.h"
#include "save/SaveOperations.h"
#include "support/LongForm.h"
#include "support/win32/Folders.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace zq::test {
namespace {

// What a thread does between two uses of the heap. One that does nothing else is inside the system's library
// nearly all the time, where no moment is a good one for a termination.
void Work() {
    for (int turns = 500; turns > 0; --turns) {
        YieldProcessor();
    }
}

// Allocates and frees as long as it lives.
class HeapUser {
public:
    HeapUser() : m_thread([this] { Run(); }) {}
    ~HeapUser() {
        m_isOver = true;
        m_thread.join();
    }
    long Rounds() const { return m_rounds; }

private:
    void Run() {
        std::vector<std::unique_ptr<std::string>> texts(64);
        for (size_t i = 0; !m_isOver; ++i) {
            texts[i % texts.size()] = std::make_unique<std::string>(i % 3000 + 1, 'x');
            ++m_rounds;
            Work();
        }
    }

    std::atomic<bool> m_isOver{false};
    std::atomic<long> m_rounds{0};
    std::thread m_thread;
};

class Termination : public testing::Test {
protected:
    // Starts `routine` and terminates it at a random moment, many times.
    template <class AfterEach>
    void Repeat(Thread::Routine routine, void* argument, std::span<const Mutex* const> guards,
                AfterEach afterEach) {
        constexpr unsigned kSeed = 4711;
        std::mt19937 random(kSeed);
        const std::array<HeapUser, 2> users;
        for (int round = 0; round < Long(300, 20); ++round) {
            SCOPED_TRACE(round);
            Thread victim;
            entered.Reset();
            victim.Start(routine, argument, {entered.Get()});
            ASSERT_TRUE(entered.Wait(20'000));
            for (unsigned spins = random() % 200'000; spins > 0; --spins) {
                YieldProcessor();
            }

            const ULONGLONG start = GetTickCount64();
            victim.Terminate(guards);
            EXPECT_LT(GetTickCount64() - start, 2000U);

            EXPECT_FALSE(victim.IsRunning());
            for (const HeapUser& user : users) {
                const long rounds = user.Rounds();
                ASSERT_TRUE(WaitFor([&] { return user.Rounds() > rounds; })) << "stalled";
            }
            ASSERT_TRUE(EndsOnAnotherThread([&] { afterEach(); }));
        }
        EXPECT_TRUE(HeapValidate(GetProcessHeap(), 0, nullptr));
    }

    Event entered{EventReset::Manual};
};

class InsideTheHeap : public Termination {
protected:
    static DWORD WINAPI Run(void* self) {
        static_cast<InsideTheHeap*>(self)->entered.Set();
        for (;;) {
            const std::unique_ptr<std::string> text = std::make_unique<std::string>(5000, 'x');
            text->append(5000, 'y');
            Work();
        }
    }
};

TEST_F(InsideTheHeap, NoOtherThreadStalls) {
    Repeat(Run, this, {}, [] { std::make_unique<std::string>(5000, 'x'); });
}

// A function of the system's library that no import library has.
template <class Function>
Function* InsideTheLibrary(const char* name) {
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}

// Does one thing inside the system's library again and again, and nothing else.
class InsideTheLibraryOnly {
public:
    explicit InsideTheLibraryOnly(std::function<void()> work)
        : m_work(std::move(work)), m_thread(CreateThread(nullptr, 0, Run, this, 0, nullptr)) {
        m_entered.Wait(20'000);
    }
    ~InsideTheLibraryOnly() {
        m_isOver = true;
        WaitForSingleObject(m_thread.get(), INFINITE);
    }
    InsideTheLibraryOnly(const InsideTheLibraryOnly&) = delete;
    InsideTheLibraryOnly& operator=(const InsideTheLibraryOnly&) = delete;

    // Returns after how many milliseconds the thread was suspended; it goes on then.
    ULONGLONG Suspend() const {
        const ULONGLONG start = GetTickCount64();
        SuspendOutsideSystemLibrary(m_thread.get());
        const ULONGLONG elapsed = GetTickCount64() - start;
        ResumeThread(m_thread.get());
        return elapsed;
    }

private:
    static DWORD WINAPI Run(void* argument) {
        auto* self = static_cast<InsideTheLibraryOnly*>(argument);
        self->m_entered.Set();
        while (!self->m_isOver) {
            self->m_work();
        }
        return 0;
    }

    Event m_entered{EventReset::Manual};
    std::atomic<bool> m_isOver{false};
    std::function<void()> m_work;
    UniqueHandle m_thread;
};

// A try is over sooner if it finds the thread between two computations, and later on a busy machine.
TEST(SuspendOutsideSystemLibrary, AComputationInsideTheLibraryIsSuspendedAfter80Milliseconds) {
    auto* const compute = InsideTheLibrary<DWORD WINAPI(DWORD, const BYTE*, INT)>("RtlComputeCrc32");
    const std::vector<BYTE> bytes(32U << 20U);
    DWORD sum = 0;
    const InsideTheLibraryOnly computation(
        [&] { sum = compute(sum, bytes.data(), static_cast<INT>(bytes.size())); });

    EXPECT_TRUE(WaitFor([&] {
        const ULONGLONG elapsed = computation.Suspend();
        return elapsed >= 80 && elapsed < 100;
    }));
}

class InsideARaise : public Termination {
protected:
    static void Raise() {
        try {
            throw std::runtime_error("raised again and again");
        } catch (const std::runtime_error&) {
        }
    }
    static DWORD WINAPI Run(void* self) {
        Raise();
        static_cast<InsideARaise*>(self)->entered.Set();
        for (;;) {
            Raise();
            Work();
        }
    }
};

// A raise is inside the system's library, and often inside the lock of its loader, nearly all the time.
TEST_F(InsideARaise, OtherThreadsCanThrowAfterwards) { Repeat(Run, this, {}, Raise); }

class InsideASave : public Termination {
protected:
    void Save(int64_t value) const {
        const std::wstring path = Path();
        SaveSetting({path, mutex, log}, {L"Level", false, std::nullopt},
                    [value](auto& member) { member.SetInt64(value); });
    }
    static DWORD WINAPI Run(void* argument) {
        const auto* self = static_cast<InsideASave*>(argument);
        self->entered.Set();
        for (int64_t value = 0;; ++value) {
            self->Save(value);
        }
    }
    std::wstring Path() const { return (m_folder.Path() / L"settings.json").wstring(); }
    // As a save writes it.
    bool IsWhole() const {
        const std::string content = ReadBytes(Path());
        return content.starts_with("{\n    \"Level\": ") && content.ends_with(m_padding + "\"\n}");
    }

    Mutex mutex;
    HostLog log;
    TempFolder m_folder;
    const std::string m_padding = "\"Padding\": \"" + std::string(40'000, 'x');
};

TEST_F(InsideASave, TheFileStaysCompleteAndTheNextSaveSucceeds) {
    WriteBytes(Path(), "{\"Level\":1," + m_padding + "\"}");
    Save(1);
    ASSERT_TRUE(IsWhole());
    const Mutex* const guards[] = {&mutex};

    Repeat(Run, this, guards, [this] {
        EXPECT_TRUE(IsWhole());
        Save(-5);
        EXPECT_TRUE(IsWhole());
        EXPECT_TRUE(ReadBytes(Path()).starts_with("{\n    \"Level\": -5,"));
    });
}

} // namespace
} // namespace zq::test
