// The store, the hosts and the loaders, used by many threads at once under ThreadSanitizer: that
// nothing is read where another thread writes.
#include "base/HostLog.h"
#include "config/ConfigText.h"
#include "variables/VariableBatch.h"
#include "variables/VariableStore.h"
#include "variables/hosts/HostRegistry.h"

#include "CZQVariable.h"
#include "Threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cwchar>
#include <functional>
#include <string>
#include <vector>

namespace zq::test {
namespace {

constexpr int kWriters = 3;
constexpr int kChanges = 5000;
constexpr int kRounds = 300; // of packets, loads and visits
constexpr int kNames = 16;

// Keeps its counts without a lock: the module calls it on one thread, and is done with it when it has been
// unregistered.
class PlainHost final : public CZQVariableHost {
public:
    explicit PlainHost(std::function<void(const wchar_t*)> onChange = {}) : m_onChange(std::move(onChange)) {}

    void OnVariableChanged(const wchar_t* name, uint32_t, CZQVariableHost*) override {
        ++changes;
        if (m_onChange) {
            m_onChange(name);
        }
    }
    void OnVariablesReloaded() override { ++reloads; }

    long changes = 0;
    long reloads = 0;

private:
    std::function<void(const wchar_t*)> m_onChange;
};

std::wstring NameOf(int writer, int number) {
    return L"Group" + std::to_wstring(writer) + L".Name" + std::to_wstring(number % kNames);
}

class Concurrency : public testing::Test {
protected:
    void Write(int writer) {
        for (int i = 0; i < kChanges; ++i) {
            const std::wstring name = NameOf(writer, i);
            if (m_store.SetInt64(name, i + 1)) {
                m_hosts.NotifyHosts(name, VariableTypeInt64, nullptr);
            }
            m_store.SetString(name, L"a text that no small string holds " + std::to_wstring(i % 3));
            m_store.SetBinary(name, name.data(), name.size());
            m_store.SetDouble(name, i);
            m_store.SetBool(name, i / kNames % 2 == 0);
        }
    }

    void Read() {
        for (int i = 0; i < kChanges; ++i) {
            const std::wstring name = NameOf(i % kWriters, i);
            int64_t integer = 0;
            double real = 0;
            uint8_t boolean = 0;
            wchar_t text[64];
            char bytes[256];
            size_t length = 0;
            m_store.GetInt64(name, &integer);
            m_store.GetDouble(name, &real);
            m_store.GetBool(name, &boolean);
            m_store.GetString(name, text, 64);
            m_store.GetBinary(name, bytes, sizeof(bytes), &length);
        }
    }

    void Pack() {
        for (int i = 0; i < kRounds; ++i) {
            const PacketWriter packet = m_store.PackAll();
            PacketReader reader(packet.Bytes());
            PacketRecord record;
            while (reader.Next(record)) {
                m_records += static_cast<long>(!record.name.empty());
            }
            EXPECT_EQ(PacketStop::End, reader.Stop());
        }
    }

    void Load() {
        const HostLog log;
        for (int i = 0; i < kRounds; ++i) {
            const std::string text = R"({"Source":"a text that no small string holds","Level":)" +
                                     std::to_string(i) + R"(,"CL":[{"HD":"ALPHA1"}]})";
            ConfigText config(ConfigFile::Settings);
            ASSERT_TRUE(config.Read(text));
            ASSERT_TRUE(config.Flatten(log));
            m_store.Apply(config.TakeBatch());
            m_hosts.NotifyHostsReloaded();
        }
    }

    void Remove() {
        for (int i = 0; i < kRounds; ++i) {
            m_store.RemoveBinary(NameOf(i % kWriters, i));
            m_store.RemoveBinaries();
            m_store.RemoveAll();
            m_store.AddEmptyString(L"Null" + std::to_wstring(i));
        }
    }

    void ComeAndGo() {
        for (int i = 0; i < kRounds; ++i) {
            PlainHost guest;
            m_hosts.RegisterHost(&guest);
            m_hosts.UnregisterHost(&guest);
            guest.changes = 0;
        }
    }

    Mutex m_storeMutex;
    Mutex m_listMutex;
    VariableStore m_store{m_storeMutex};
    HostRegistry m_hosts{m_listMutex, {}};
    std::atomic<long> m_records{0};
};

TEST_F(Concurrency, EverythingAtOnce) {
    PlainHost quiet;
    PlainHost busy([this](const wchar_t* name) {
        int64_t value = 0;
        m_store.GetInt64(name, &value);
        m_store.SetInt64(L"Echo", value);
    });
    m_hosts.RegisterHost(&quiet);
    m_hosts.RegisterHost(&busy);
    {
        Threads threads;
        for (int writer = 0; writer < kWriters; ++writer) {
            threads.Add([this, writer] { Write(writer); });
        }
        threads.Add([this] { Read(); });
        threads.Add([this] { Read(); });
        threads.Add([this] { Pack(); });
        threads.Add([this] { Load(); });
        threads.Add([this] { Load(); });
        threads.Add([this] { Remove(); });
        threads.Add([this] { ComeAndGo(); });
    }
    m_hosts.UnregisterHost(&busy);
    m_hosts.UnregisterHost(&quiet);

    EXPECT_GT(m_records, 0);
    EXPECT_LE(quiet.changes, kWriters * kChanges);
    EXPECT_GT(quiet.changes + busy.changes, 0);
}

TEST_F(Concurrency, AllHostsLeaveWhileChangesCome) {
    std::vector<PlainHost> hosts(6);
    for (PlainHost& host : hosts) {
        m_hosts.RegisterHost(&host);
    }
    {
        Threads threads;
        threads.Add([this] { Write(0); });
        threads.Add([this] { m_hosts.UnregisterAll(); });
    }
    for (PlainHost& host : hosts) {
        EXPECT_LE(host.changes, kChanges);
    }
}

TEST_F(Concurrency, StoresAreIndependent) {
    Threads threads;
    for (int i = 0; i < 4; ++i) {
        threads.Add([] {
            const Mutex mutex;
            VariableStore store(mutex);
            for (int n = 0; n < kChanges; ++n) {
                store.SetString(NameOf(0, n), L"a text that no small string holds");
            }
            store.RemoveAll();
        });
    }
}

} // namespace
} // namespace zq::test
