// Many writers, many hosts and hosts that come and go, all at once: what arrives, in which order, and what is
// left behind.
#include "support/LongForm.h"
#include "support/win32/Module.h"
#include "support/win32/ProcessResources.h"
#include "support/win32/VariableHost.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cwchar>
#include <thread>

namespace zq::test {
namespace {

constexpr int kWriters = 8;
constexpr int kHosts = 8;

// Checks on arrival that the changes of each writer come in order and without a gap, and that none is its
// own.
class OrderedHost final : public CZQVariableHost {
public:
    // Names are "<writer>.<number>".
    void OnVariableChanged(const wchar_t* name, uint32_t type, CZQVariableHost* source) override {
        wchar_t* end = nullptr;
        const auto writer = std::wcstoul(name, &end, 10);
        const long number = *end == L'.' ? std::wcstol(end + 1, nullptr, 10) : -1;
        if (writer >= kWriters || number != m_next[writer] || type != VariableTypeInt64 || source == this) {
            ++wrong;
        } else {
            ++m_next[writer];
        }
        if (m_isGone) {
            ++wrong;
        }
        ++arrived;
    }
    void OnVariablesReloaded() override { ++wrong; }

    void Leave() { m_isGone = true; }

    std::atomic<long> arrived{0};
    std::atomic<long> wrong{0};

private:
    std::array<long, kWriters> m_next{};
    std::atomic<bool> m_isGone{false};
};

// May be notified of anything while registered, but of nothing afterwards.
class GuestHost final : public CZQVariableHost {
public:
    void OnVariableChanged(const wchar_t*, uint32_t, CZQVariableHost*) override { Arrive(); }
    void OnVariablesReloaded() override { Arrive(); }

    std::atomic<bool> isRegistered{false};
    std::atomic<long> late{0};

private:
    void Arrive() { late += !isRegistered; }
};

class Traffic {
public:
    explicit Traffic(Module& module, long changesOfWriter)
        : m_variables(module.Variables()), m_changes(changesOfWriter) {}

    void Run() {
        for (OrderedHost& host : hosts) {
            m_variables.RegisterHost(&host);
        }
        std::vector<std::thread> writers;
        for (int writer = 0; writer < kWriters; ++writer) {
            writers.emplace_back([this, writer] { Write(writer); });
        }
        std::array<std::thread, 2> guests;
        for (std::thread& guest : guests) {
            guest = std::thread([this] { ComeAndGo(); });
        }
        for (std::thread& writer : writers) {
            writer.join();
        }
        m_isOver = true;
        for (std::thread& guest : guests) {
            guest.join();
        }
        hasAllArrived = WaitFor([this] { return HasAllArrived(); }, std::chrono::seconds(60));
        for (OrderedHost& host : hosts) {
            m_variables.UnregisterHost(&host);
            host.Leave();
        }
        for (int i = 0; i < 10; ++i) {
            m_variables.SetVariableInt64(L"0.0", -i, nullptr, 1);
        }
    }

    // Every host is notified of all changes except those of the writer that writes on its behalf.
    long Expected() const { return (kWriters - 1) * m_changes; }

    std::array<OrderedHost, kHosts> hosts;
    std::atomic<long> lateToGuests{0};
    std::atomic<long> visits{0};
    bool hasAllArrived = false;

private:
    void Write(int writer) {
        auto* source = &hosts[static_cast<size_t>(writer)];
        for (long number = 0; number < m_changes; ++number) {
            const std::wstring name = std::to_wstring(writer) + L'.' + std::to_wstring(number);
            m_variables.SetVariableInt64(name.c_str(), number + 1, source, 0);
        }
    }

    void ComeAndGo() {
        while (!m_isOver) {
            GuestHost guest;
            guest.isRegistered = true;
            m_variables.RegisterHost(&guest);
            m_variables.UnregisterHost(&guest);
            guest.isRegistered = false;
            lateToGuests += guest.late;
            ++visits;
        }
    }

    bool HasAllArrived() const {
        return std::all_of(hosts.begin(), hosts.end(),
                           [this](const OrderedHost& host) { return host.arrived >= Expected(); });
    }

    CZQVariable& m_variables;
    const long m_changes;
    std::atomic<bool> m_isOver{false};
};

void RunTraffic(long changesOfWriter) {
    Module module;
    Traffic traffic(module, changesOfWriter);

    traffic.Run();

    EXPECT_TRUE(traffic.hasAllArrived);
    for (const OrderedHost& host : traffic.hosts) {
        EXPECT_EQ(traffic.Expected(), host.arrived);
        EXPECT_EQ(0, host.wrong);
    }
    EXPECT_EQ(0, traffic.lateToGuests);
    EXPECT_GT(traffic.visits, 0);
}

// Whether a run ends with as many handles as it began with. The system's own locks make a handle when they
// are first contended, which can be in any run; a leak shows in every run.
bool RunsWithoutLeavingHandles(long changesOfWriter) {
    constexpr int kRuns = 5;
    for (int run = 0; run < kRuns; ++run) {
        const size_t handles = HandleCount();
        RunTraffic(changesOfWriter);
        if (WaitFor([&] { return HandleCount() <= handles; }, std::chrono::seconds(1))) {
            return true;
        }
    }
    return false;
}

TEST(HostStress, EveryHostIsNotifiedOfEachChangeOnceAndInOrderAndNothingLeaks) {
    RunTraffic(20); // what the run-time library makes once
    const size_t threads = ThreadCount();
    const size_t bytes = HeapBytes();

    EXPECT_TRUE(RunsWithoutLeavingHandles(Long(25'000, 500)));

    EXPECT_TRUE(WaitFor([&] { return ThreadCount() <= threads; }));
    // Less than one notice for each host could have left.
    EXPECT_LE(HeapBytes(), bytes + 4096);
}

} // namespace
} // namespace zq::test
