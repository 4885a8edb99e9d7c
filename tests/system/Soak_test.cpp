// Everything at once, for any length of time, on eight threads: edits by a second process, saves, sets,
// removals, hosts that come and go, packets to another module object and another process, objects that start
// and stop. Nothing may be lost, and nothing may grow.
//
// Three seconds in the ordinary run; ZQ_SOAK_SECONDS in the environment sets the time.
#include "support/win32/ChildProcess.h"
#include "support/win32/Module.h"
#include "support/win32/ProcessResources.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <fstream>
#include <functional>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <thread>

namespace zq::test {
namespace {

constexpr int kSoakWriters = 2;
constexpr int kSavers = 2;
constexpr int kNames = 64; // a writer's names come round: what is held does not grow

int SoakSeconds() {
    const char* seconds = std::getenv("ZQ_SOAK_SECONDS");
    return seconds ? std::atoi(seconds) : 3;
}

// Keeps no messages; otherwise it would grow.
class CountingLog final : public CZQModHost {
public:
    void Log(const wchar_t*, int32_t, const wchar_t* format, va_list) override {
        ++messages;
        repairs += std::wcsstr(format, L" again OK ") ? 1 : 0;
    }
    void OnConfigReloaded() override { ++passes; }

    std::atomic<long> messages{0};
    std::atomic<long> repairs{0};
    std::atomic<long> passes{0};
};

// Checks that each writer's changes come once and in order.
class SoakListener final : public CZQVariableHost {
public:
    void OnVariableChanged(const wchar_t* name, uint32_t, CZQVariableHost*) override {
        wchar_t* end = nullptr;
        const auto writer = std::wcstoul(name, &end, 10);
        if (end == name || *end != L'.' || writer >= kSoakWriters) {
            return; // a variable of the files or the survey
        }
        wrong += std::wcstol(end + 1, nullptr, 10) != m_next[writer] % kNames;
        ++m_next[writer];
        ++arrived;
    }
    void OnVariablesReloaded() override { ++reloads; }

    std::atomic<long> arrived{0};
    std::atomic<long> wrong{0};
    std::atomic<long> reloads{0};

private:
    std::array<long, kSoakWriters> m_next{};
};

class SoakGuest final : public CZQVariableHost {
public:
    void OnVariableChanged(const wchar_t*, uint32_t, CZQVariableHost*) override { late += !isRegistered; }
    void OnVariablesReloaded() override { late += !isRegistered; }

    std::atomic<bool> isRegistered{false};
    std::atomic<long> late{0};
};

// Not std::shared_mutex: MinGW's fails now and then where two threads are the first to lock it.
class SharedMutex {
public:
    void lock() { AcquireSRWLockExclusive(&m_lock); }
    void unlock() { ReleaseSRWLockExclusive(&m_lock); }
    void lock_shared() { AcquireSRWLockShared(&m_lock); }
    void unlock_shared() { ReleaseSRWLockShared(&m_lock); }

private:
    SRWLOCK m_lock = SRWLOCK_INIT;
};

struct Resources {
    size_t handles = HandleCount();
    size_t threads = ThreadCount();
    size_t heap = HeapBytes();
};

class Soak : public testing::Test {
protected:
    void SetUp() override {
        WriteBytes(m_folders.Private(kSettingsName), R"({"Saved.0":0,"Saved.1":0})");
        WriteBytes(m_folders.Private(kHmdListName),
                   R"([{"DeviceName":"A","Response":[)"
                   R"({"MainRequest":1,"SubRequest":1,"index":0,"Value":[0,0]}]}])");
        WriteBytes(m_folders.Private(kQualityName), R"({"Edit":0})");
        m_module.Init(m_host, m_folders);
        m_module->DoStart();
        m_module.Variables().RegisterHost(&m_listener);
    }

    // One step of a kind of work, with the others running; Quiet keeps all of them out.
    void Repeat(const std::function<void(long)>& step, DWORD pause) {
        for (long i = 0; !m_isOver; ++i) {
            {
                const std::shared_lock work(m_work);
                step(i);
            }
            Sleep(pause);
        }
    }

    void Start(const std::function<void(long)>& step, DWORD pause) {
        m_threads.emplace_back([this, step, pause] { Repeat(step, pause); });
    }

    void Write(int writer, long round) {
        for (int k = 0; k < 50; ++k) {
            const long number = round * 50 + k;
            const std::wstring name = std::to_wstring(writer) + L'.' + std::to_wstring(number % kNames);
            m_module.Variables().SetVariableInt64(name.c_str(), number, nullptr, 1);
            ++m_sent;
        }
        WaitFor([this] { return m_sent - m_listener.arrived < 20'000; });
    }

    void Save(int saver, long round) {
        const std::wstring name = L"Saved." + std::to_wstring(saver);
        m_module->SaveConfigInt64(name.c_str(), round + 1, 0);
        m_saved[static_cast<size_t>(saver)] = round + 1;
        if (saver == 0) {
            const std::array<int64_t, 2> values = {round + 1, -round};
            m_module->SaveConfigHmdListIntArray(L"A", 1, 1, 0, values.data(), 2);
        }
        ++m_saves;
    }

    void Visit(SoakGuest& guest) {
        guest.isRegistered = true;
        m_module.Variables().RegisterHost(&guest);
        Sleep(2);
        m_module.Variables().UnregisterHost(&guest);
        guest.isRegistered = false;
        ++m_visits;
    }

    void SendPacket() {
        size_t size = 0;
        void* packet = m_module.Variables().PackAllVariables(&size);
        EXPECT_EQ(1, m_other.Variables().UnpackVariables(packet, size, nullptr));
        HeapFree(GetProcessHeap(), 0, packet);
        ++m_packets;
    }

    // A complete lifecycle of another object.
    void Live(long round) {
        Module module;
        module.Init(m_thirdHost, m_thirdFolders);
        module->DoStart();
        SoakGuest guest;
        guest.isRegistered = true;
        module.Variables().RegisterHost(&guest);
        module.Variables().SetVariableBinary(L"B", sizeof(round), &round, nullptr, 0);
        module->SaveConfigString(L"Source", "saved", 0);
        module.Variables().SetVariableBinary(L"B", 0, nullptr, nullptr, 0);
        module.Variables().RemoveAllVariables();
        EXPECT_EQ(std::nullopt, module.Int64(L"Settings.CurrentBitrate"));
        module->DoStop();
        module.Variables().UnregisterHost(&guest);
        guest.isRegistered = false;
        module->DoRelease();
        EXPECT_EQ(0, guest.late);
        ++m_lives;
    }

    // The second process; its last edit must become visible.
    void EditByAnother(const wchar_t* mode) {
        static constexpr int kEdits = 10;
        const std::wstring command = std::wstring(L"file_editor.exe ") + mode + L" \"" +
                                     m_folders.Private(kQualityName).wstring() + L"\" \"" +
                                     m_folders.Outside(L"new.json").wstring() + L"\" 10 50 4711";
        m_module.Variables().SetVariableInt64(L"Edit", 0, nullptr, 0);
        EXPECT_EQ(0U, ChildProcess(command).ExitCode());
        EXPECT_TRUE(WaitFor([this] { return m_module.Int64(L"Edit") == kEdits; }));
        m_edits += kEdits;
    }

    // A third process takes a packet apart.
    void ReadPacketInAnother() {
        size_t size = 0;
        void* packet = m_module.Variables().PackAllVariables(&size);
        const std::filesystem::path file = m_folders.Outside(L"packet");
        WriteBytes(file, {static_cast<const char*>(packet), size});
        HeapFree(GetProcessHeap(), 0, packet);
        EXPECT_EQ(
            0U,
            ChildProcess(L"zqsettings.exe packet --prefix zz --json \"" + file.wstring() + L"\"").ExitCode());
    }

    // All threads wait, and everything that was sent has arrived.
    Resources MeasureQuiet() {
        const std::unique_lock quiet(m_work);
        EXPECT_TRUE(WaitFor([this] { return m_listener.arrived == m_sent; }));
        EXPECT_TRUE(WaitFor([this] { return VisibleSaves() == m_saved; }));
        return {};
    }

    std::array<long, kSavers> VisibleSaves() const {
        return {static_cast<long>(m_module.Int64(L"Saved.0").value_or(-1)),
                static_cast<long>(m_module.Int64(L"Saved.1").value_or(-1))};
    }

    void Print(const Resources& resources, ULONGLONG milliseconds) const {
        std::printf(
            "%5llu s: %ld sets, %ld saves, %ld edits, %ld visits, %ld packets, %ld lives; %zu handles, %zu "
            "threads, %zu KB\n",
            milliseconds / 1000, m_sent.load(), m_saves.load(), m_edits.load(), m_visits.load(),
            m_packets.load(), m_lives.load(), resources.handles, resources.threads, resources.heap / 1024);
        std::fflush(stdout);
    }

    void ExpectSameVariables() {
        SendPacket();
        for (int writer = 0; writer < kSoakWriters; ++writer) {
            for (int k = 0; k < kNames; ++k) {
                const std::wstring name = std::to_wstring(writer) + L'.' + std::to_wstring(k);
                EXPECT_EQ(m_module.Int64(name.c_str()), m_other.Int64(name.c_str()));
            }
        }
    }

    ModuleFolders m_folders;
    ModuleFolders m_thirdFolders;
    CountingLog m_host;
    CountingLog m_thirdHost;
    SoakListener m_listener;
    Module m_module;
    Module m_other; // another object, which packets go to
    SharedMutex m_work;
    std::vector<std::thread> m_threads;
    std::atomic<bool> m_isOver{false};
    std::atomic<long> m_sent{0};
    std::atomic<long> m_saves{0};
    std::atomic<long> m_edits{0};
    std::atomic<long> m_visits{0};
    std::atomic<long> m_packets{0};
    std::atomic<long> m_lives{0};
    std::array<long, kSavers> m_saved{};
};

TEST_F(Soak, NothingIsLostAndNothingGrows) {
    const ULONGLONG length = static_cast<ULONGLONG>(SoakSeconds()) * 1000;
    const bool isLong = length > 60'000;
    SoakGuest guest;
    for (int writer = 0; writer < kSoakWriters; ++writer) {
        Start([this, writer](long round) { Write(writer, round); }, 5);
    }
    for (int saver = 0; saver < kSavers; ++saver) {
        Start([this, saver](long round) { Save(saver, round); }, 20);
    }
    Start([this, &guest](long) { Visit(guest); }, 3);
    Start(
        [this](long round) {
            SendPacket();
            if (round % 16 == 15) {
                m_other.Variables().RemoveAllVariables();
            }
        },
        10);
    Start([this](long round) { Live(round); }, 10);
    Start([this](long round) { EditByAnother(round % 2 == 0 ? L"rewrite" : L"rename"); }, 10);

    const ULONGLONG start = GetTickCount64();
    const auto elapsed = [start] { return GetTickCount64() - start; };
    const DWORD interval = isLong ? 60'000 : 500;
    Sleep(interval);
    const Resources first = MeasureQuiet();
    Print(first, elapsed());
    while (elapsed() < length) {
        Sleep(interval);
        // What the module's own threads hold for a moment is not growth; growth persists.
        Resources now = MeasureQuiet();
        const bool hasGrown = !WaitFor([&] {
            now = MeasureQuiet();
            return now.handles <= first.handles + 8 && now.threads <= first.threads + 2 &&
                   now.heap <= first.heap + 512 * 1024;
        });
        Print(now, elapsed());
        EXPECT_FALSE(hasGrown);
        ReadPacketInAnother();
    }
    m_isOver = true;
    for (std::thread& thread : m_threads) {
        thread.join();
    }

    MeasureQuiet();
    ExpectSameVariables();
    m_module.Variables().UnregisterHost(&m_listener);
    EXPECT_EQ(0, m_listener.wrong);
    EXPECT_EQ(0, guest.late);
    EXPECT_EQ(0, m_host.repairs);
    EXPECT_EQ(0, m_thirdHost.repairs);
    EXPECT_LT(0, m_lives);
    EXPECT_LT(0, m_edits);
    EXPECT_LT(0, m_listener.reloads);
}

} // namespace
} // namespace zq::test
