// What an operation of the variable interface costs beside the bare Win32 mutex pair that it cannot do
// without, in one run of the DLL: reading, setting what is held already, and telling hosts of a change.
#include "Rounds.h"

#include "platform/Event.h"
#include "platform/Mutex.h"
#include "support/win32/Module.h"

#include <atomic>
#include <memory>
#include <thread>

namespace zq::bench {
namespace {

constexpr int kRuns = 500;

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
    for (SilentHost& host : hosts) {
        variables.UnregisterHost(&host);
    }
}

} // namespace
} // namespace zq::bench

int main() {
    for (const size_t count : {100u, 10'000u, 1'000'000u}) {
        zq::bench::CompareWithOnePair(count);
    }
    for (const size_t hosts : {1u, 4u, 8u}) {
        zq::bench::CompareTelling(hosts);
    }
}
