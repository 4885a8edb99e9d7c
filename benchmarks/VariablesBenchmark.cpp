// What an operation of the variable interface costs beside the bare Win32 mutex pair that it cannot do
// without, in one run of the DLL: reading, setting what is held already, and telling hosts of a change.
#include "Rounds.h"

#include "platform/Event.h"
#include "platform/Mutex.h"
#include "support/win32/Module.h"

#include <tsl/robin_map.h>

#include <atomic>
#include <memory>
#include <shared_mutex>
#include <thread>

namespace zq::bench {
namespace {

constexpr int kRuns = 200;

class SilentHost final : public CZQVariableHost {
public:
    void OnVariableChanged(const wchar_t*, uint32_t, CZQVariableHost*) override {}
    void OnVariablesReloaded() override {}
};

std::wstring NameOf(size_t i) {
    return L"CL.DEVICE" + std::to_wstring(i / 10) + L".Member" + std::to_wstring(i % 10);
}

void Fill(CZQVariable& variables, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        variables.SetVariableInt64(NameOf(i).c_str(), static_cast<int64_t>(i), nullptr, 0);
    }
}

void CompareWithOnePair(size_t count) {
    const test::Module module;
    CZQVariable& variables = module.Variables();
    Fill(variables, count);
    variables.SetVariableString(L"Text", L"some text", nullptr, 0);
    const Mutex mutex;
    size_t next = 0;
    std::vector<std::wstring> names;
    for (size_t i = 0; i < 1000; ++i) {
        names.push_back(NameOf(i * 7919 % count));
    }
    const auto name = [&] { return names[next++ % names.size()].c_str(); };

    int64_t held = 0;
    variables.GetVariableInt64(names[0].c_str(), &held);
    int64_t value = 0;
    wchar_t text[32];
    std::vector<Competitor> all = {
        {"bare mutex pair", [&] { MutexLock lock(mutex); }},
        {"GetVariableInt64", [&] { variables.GetVariableInt64(name(), &value); }},
        {"GetVariableString", [&] { variables.GetVariableString(L"Text", text, 32); }},
        {"SetVariableInt64, silent", [&] { variables.SetVariableInt64(names[0].c_str(), held, nullptr, 0); }},
        {"SetVariableString, silent",
         [&] { variables.SetVariableString(L"Text", L"some text", nullptr, 0); }},
    };
    RunRounds(all, kRuns);
    Print("Look-ups and silent setters among " + std::to_string(count) + " variables", all, 1e-6, "us");
    Record("getset", static_cast<double>(count), all, 1e-6);
}

// Calls read(i) kReads times on each of so many threads at once; the time of one round is that of all of
// them.
template <class Read>
void ReadOnThreads(size_t threadCount, Read read) {
    constexpr size_t kReads = 2000;
    std::vector<std::thread> threads;
    for (size_t thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&read, thread] {
            for (size_t i = 0; i < kReads; ++i) {
                read(thread * kReads + i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// What a getter costs beside the map and lock that a host would write for itself.
void CompareReaders(size_t threadCount) {
    constexpr size_t kCount = 10'000;
    constexpr double kReadsOfAThread = 2000;
    const test::Module module;
    CZQVariable& variables = module.Variables();
    Fill(variables, kCount);
    tsl::robin_map<std::wstring, int64_t> map;
    std::vector<std::wstring> names;
    for (size_t i = 0; i < kCount; ++i) {
        map[NameOf(i)] = static_cast<int64_t>(i);
        names.push_back(NameOf(i * 7919 % kCount));
    }
    std::shared_mutex sharedMutex;
    const Mutex mutex;
    std::vector<Competitor> all = {
        {"GetVariableInt64",
         [&] {
             ReadOnThreads(threadCount, [&](size_t i) {
                 int64_t value = 0;
                 variables.GetVariableInt64(names[i % kCount].c_str(), &value);
                 Use(value);
             });
         }},
        {"std::shared_mutex, tsl::robin_map",
         [&] {
             ReadOnThreads(threadCount, [&](size_t i) {
                 const std::shared_lock lock(sharedMutex);
                 Use(map.find(names[i % kCount])->second);
             });
         }},
        {"bare mutex pair", [&] { ReadOnThreads(threadCount, [&](size_t) { MutexLock lock(mutex); }); }},
    };
    RunRounds(all);
    const double perRead = 1e-6 * kReadsOfAThread * static_cast<double>(threadCount);
    Print(std::to_string(threadCount) + " readers of 10,000 variables", all, perRead, "us");
    Record("readers", static_cast<double>(threadCount), all, perRead);
}

// The bare work of telling: a queue with its waiting thread for each host.
class BareQueues {
public:
    explicit BareQueues(size_t count) : m_queues(count) {
        for (auto& queue : m_queues) {
            queue = std::make_unique<Queue>();
            queue->thread = std::thread([&queue = *queue] {
                while (queue.wake.Wait(INFINITE) && !queue.isOver) {
                    MutexLock lock(queue.mutex);
                }
            });
        }
    }
    ~BareQueues() {
        for (auto& queue : m_queues) {
            queue->isOver = true;
            queue->wake.Set();
            queue->thread.join();
        }
    }
    BareQueues(const BareQueues&) = delete;
    BareQueues& operator=(const BareQueues&) = delete;

    void Tell() const {
        { MutexLock lock(m_store); }
        for (const auto& queue : m_queues) {
            { MutexLock lock(queue->mutex); }
            queue->wake.Set();
        }
    }

private:
    struct Queue {
        Mutex mutex;
        Event wake{EventReset::Auto};
        std::atomic<bool> isOver{false};
        std::thread thread;
    };

    Mutex m_store;
    std::vector<std::unique_ptr<Queue>> m_queues;
};

void CompareTelling(size_t hostCount) {
    const test::Module module;
    CZQVariable& variables = module.Variables();
    std::vector<SilentHost> hosts(hostCount);
    for (SilentHost& host : hosts) {
        variables.RegisterHost(&host);
    }
    const BareQueues queues(hostCount);
    int64_t value = 0;
    std::vector<Competitor> all = {
        {"k + 1 mutex pairs, k SetEvent", [&] { queues.Tell(); }},
        {"SetVariableInt64, changed", [&] { variables.SetVariableInt64(L"Name", ++value, nullptr, 0); }},
    };
    RunRounds(all, kRuns);
    Print("A change told to " + std::to_string(hostCount) + " hosts", all, 1e-6, "us");
    Record("hosts", static_cast<double>(hostCount), all, 1e-6);
    for (SilentHost& host : hosts) {
        variables.UnregisterHost(&host);
    }
}

// Counts the notices that arrive and wakes the thread that waits for the last.
class CountingHost final : public CZQVariableHost {
public:
    void OnVariableChanged(const wchar_t*, uint32_t, CZQVariableHost*) override { ++arrived; }
    void OnVariablesReloaded() override {}

    std::atomic<long> arrived{0};
};

// The queue that one would write today: a slim lock, a condition variable, and a record with the name.
class SlimQueue {
public:
    explicit SlimQueue(std::atomic<long>& arrived) : m_arrived(arrived), m_thread([this] { Deliver(); }) {}
    ~SlimQueue() {
        AcquireSRWLockExclusive(&m_lock);
        m_isOver = true;
        ReleaseSRWLockExclusive(&m_lock);
        WakeConditionVariable(&m_wake);
        m_thread.join();
    }
    SlimQueue(const SlimQueue&) = delete;
    SlimQueue& operator=(const SlimQueue&) = delete;

    void Tell(const wchar_t* name) {
        std::wstring copy(name);
        AcquireSRWLockExclusive(&m_lock);
        m_names.push_back(std::move(copy));
        ReleaseSRWLockExclusive(&m_lock);
        WakeConditionVariable(&m_wake);
    }

private:
    void Deliver() {
        for (;;) {
            std::vector<std::wstring> batch;
            AcquireSRWLockExclusive(&m_lock);
            while (m_names.empty() && !m_isOver) {
                SleepConditionVariableSRW(&m_wake, &m_lock, INFINITE, 0);
            }
            batch.swap(m_names);
            const bool isOver = m_isOver;
            ReleaseSRWLockExclusive(&m_lock);
            m_arrived += static_cast<long>(batch.size());
            if (isOver) {
                return;
            }
        }
    }

    std::atomic<long>& m_arrived;
    SRWLOCK m_lock = SRWLOCK_INIT;
    CONDITION_VARIABLE m_wake = CONDITION_VARIABLE_INIT;
    std::vector<std::wstring> m_names;
    bool m_isOver = false;
    std::thread m_thread;
};

// From the first change to the last arrival at one host. The module's setter takes three mutex pairs for each
// change, for the store, the list and the queue; they are measured separately and subtracted.
void CompareDelivery() {
    constexpr long kChanges = 2000;
    constexpr int kPairs = 3;
    const test::Module module;
    CZQVariable& variables = module.Variables();
    CountingHost host;
    variables.RegisterHost(&host);
    const Mutex mutex;
    std::atomic<long> arrived{0};
    SlimQueue queue(arrived);
    int64_t value = 0;
    const auto waitFor = [](const std::atomic<long>& count, long wanted) {
        while (count < wanted) {
            std::this_thread::yield();
        }
    };
    std::vector<Competitor> all = {
        {"module",
         [&] {
             const long wanted = host.arrived + kChanges;
             for (long i = 0; i < kChanges; ++i) {
                 variables.SetVariableInt64(L"Name", ++value, nullptr, 0);
             }
             waitFor(host.arrived, wanted);
         }},
        {"its mutex pairs alone",
         [&] {
             for (long i = 0; i < kPairs * kChanges; ++i) {
                 MutexLock lock(mutex);
             }
         }},
        {"slim lock and condition variable",
         [&] {
             const long wanted = arrived + kChanges;
             for (long i = 0; i < kChanges; ++i) {
                 queue.Tell(L"Name");
             }
             waitFor(arrived, wanted);
         }},
    };
    RunRounds(all);
    variables.UnregisterHost(&host);
    Print("2,000 changes delivered to one host", all, 1e-6 * kChanges, "us");
    Record("delivery", 1, all, 1e-6 * kChanges);
}

} // namespace
} // namespace zq::bench

int main() {
    for (const size_t count : {100u, 10'000u, 1'000'000u}) {
        zq::bench::CompareWithOnePair(count);
    }
    for (const size_t readers : {1u, 8u}) {
        zq::bench::CompareReaders(readers);
    }
    for (const size_t hosts : {1u, 2u, 4u, 8u, 16u, 32u}) {
        zq::bench::CompareTelling(hosts);
    }
    zq::bench::CompareDelivery();
}
