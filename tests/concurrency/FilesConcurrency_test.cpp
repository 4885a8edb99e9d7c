// The watcher, its repairs, the saves and everything that reads and writes variables at once, on real files
// and under ThreadSanitizer: that nothing is read where another thread writes, and that no save is lost.
//
// Two seconds in the ordinary run; ZQ_SOAK_SECONDS in the environment sets the time.
#include "CZQModHost.h"
#include "CZQVariable.h"
#include "Threads.h"

#include "base/HostLog.h"
#include "module/files/FolderWatcher.h"
#include "module/files/PrivateFiles.h"
#include "platform/Clock.h"
#include "platform/Thread.h"
#include "save/SaveOperations.h"
#include "variables/VariablePacket.h"
#include "variables/VariableStore.h"
#include "variables/hosts/HostRegistry.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <unistd.h>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

using SteadyClock = std::chrono::steady_clock;

constexpr int kSavers = 2;
constexpr std::chrono::seconds kCap{30};

std::chrono::seconds SoakTime() {
    const char* seconds = std::getenv("ZQ_SOAK_SECONDS");
    return std::chrono::seconds(seconds ? std::atoi(seconds) : 2);
}

void Write(const fs::path& path, std::string_view bytes) { std::ofstream(path, std::ios::binary) << bytes; }

class CountingLog final : public CZQModHost {
public:
    void Log(const wchar_t*, int32_t, const wchar_t* format, va_list) override {
        ++messages;
        repairs += std::wcsstr(format, L" again OK ") ? 1 : 0;
    }
    void OnConfigReloaded() override {}

    std::atomic<long> messages{0};
    std::atomic<long> repairs{0};
};

// Keeps its counts without a lock: the module calls it on one thread, and is done with it when it has been
// unregistered.
class CountingListener final : public CZQVariableHost {
public:
    void OnVariableChanged(const wchar_t*, uint32_t, CZQVariableHost*) override { ++changes; }
    void OnVariablesReloaded() override { ++reloads; }

    long changes = 0;
    long reloads = 0;
};

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (fs::temp_directory_path() / "zq-threads-XXXXXX").string();
        m_path = mkdtemp(name.data());
    }
    ~TemporaryFolder() { fs::remove_all(m_path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const fs::path& Path() const { return m_path; }

private:
    fs::path m_path;
};

class FilesConcurrency : public testing::Test {
protected:
    FilesConcurrency() {
        m_log.SetHost(&m_messages);
        for (const char* folder : {"data/rejected", "data/kept", "defaults", "outside"}) {
            fs::create_directories(m_root.Path() / folder);
        }
        for (const ConfigFile file : kConfigFiles) {
            Write(m_defaultPaths[Index(file)], file == ConfigFile::HmdList ? "[]" : R"({"Default":1})");
        }
        Write(PathOf(ConfigFile::Settings), R"({"Saved.0":0,"Saved.1":0})");
        Write(PathOf(ConfigFile::HmdList),
              R"([{"DeviceName":"A","Response":[{"MainRequest":1,"SubRequest":1,"index":0,"Value":[0]}]}])");
        Write(PathOf(ConfigFile::Quality), R"({"Edit":0})");
        ProvisionAndLoadPrivateFiles(m_files, m_context);
    }

    // Members that make the file so large that its load checks for cancellation.
    static std::string Padding() {
        std::string members;
        for (int i = 0; i < 2000; ++i) {
            members += ",\"A member of a large file " + std::to_string(i) + "\":\"and its text\"";
        }
        return members;
    }

    static size_t Index(ConfigFile file) { return static_cast<size_t>(file); }
    const std::wstring& PathOf(ConfigFile file) const { return m_paths[Index(file)]; }
    std::wstring Below(const char* folder, ConfigFile file) const {
        return (m_root.Path() / folder / NameOfConfigFile(file)).wstring();
    }

    // Runs `step` with its number again and again, until the time is over.
    template <class Step>
    void Repeat(Step step) {
        for (long i = 0; SteadyClock::now() < m_end; ++i) {
            step(i);
        }
    }
    // The watcher may come to its first repair late on a busy machine.
    template <class Step>
    void RepeatUntilRepaired(Step step) {
        const auto cap = m_end + kCap;
        for (long i = 0; SteadyClock::now() < (m_messages.repairs == 0 ? cap : m_end); ++i) {
            step(i);
        }
    }

    void Save(int saver, long round) {
        const std::wstring name = L"Saved." + std::to_wstring(saver);
        const SaveTarget target{PathOf(ConfigFile::Settings), m_fileMutexes[Index(ConfigFile::Settings)],
                                m_log};
        const SaveResult result = SaveSetting(target, {name, false, std::nullopt}, [&](EditableValue& value) {
            m_lost += value.GetInt64() != m_saved[static_cast<size_t>(saver)];
            value.SetInt64(round + 1);
        });
        EXPECT_EQ(SaveResult::Saved, result);
        m_saved[static_cast<size_t>(saver)] = round + 1;
        Sleep(1);
    }

    void SaveHeadset(long round) {
        const SaveTarget target{PathOf(ConfigFile::HmdList), m_fileMutexes[Index(ConfigFile::HmdList)],
                                m_log};
        const int64_t value = round;
        EXPECT_EQ(SaveResult::Saved, SaveHmdListValues(target, L"A", {1, 1, 0}, {&value, 1}));
    }

    // A new file renamed over the old one, a refused one now and then, and a deletion.
    void Edit(long round) {
        const fs::path fresh = m_root.Path() / "outside" / "new.json";
        Write(fresh, round % 5 == 4 ? std::string("refused")
                                    : "{\"Edit\":" + std::to_string(round) + m_padding + "}");
        fs::rename(fresh, PathOf(ConfigFile::Quality));
        if (round % 5 == 2) {
            fs::remove(PathOf(ConfigFile::Quality));
        }
        Sleep(round % 5 >= 2 && round % 5 != 3 ? 800 : 10);
    }

    void Set(long round) {
        const std::wstring name = L"Name" + std::to_wstring(round % 16);
        if (m_store.SetInt64(name, round)) {
            m_hosts.NotifyHosts(name, VariableTypeInt64, nullptr);
        }
        m_store.SetString(name, L"a text that no small string holds " + std::to_wstring(round % 3));
        m_store.SetBinary(name, name.data(), name.size());
        Sleep(round % 64 == 0 ? 1 : 0);
    }

    void ReadAndPack(long round) {
        int64_t value = 0;
        m_store.GetInt64(L"Edit", &value);
        m_store.GetInt64(L"Name" + std::to_wstring(round % 16), &value);
        const PacketWriter packet = m_store.PackAll();
        PacketReader reader(packet.Bytes());
        PacketRecord record;
        while (reader.Next(record)) {
        }
        EXPECT_EQ(PacketStop::End, reader.Stop());
        Sleep(1);
    }

    void Remove(long round) {
        m_store.RemoveBinary(L"Name" + std::to_wstring(round % 16));
        if (round % 50 == 0) {
            m_store.RemoveAll();
        }
        Sleep(2);
    }

    void Visit() {
        CountingListener guest;
        m_hosts.RegisterHost(&guest);
        Sleep(2);
        m_hosts.UnregisterHost(&guest);
        guest.changes = 0;
    }

    // With a watcher of its own, as each module object has one.
    void StartWatching() {
        m_stop.Reset();
        m_watcher.emplace(m_files, m_context,
                          WatcherContext{m_folder, m_stop, [this] { m_hosts.NotifyHostsReloaded(); },
                                         [this] { ++m_passes; }, nullptr});
        m_thread.Start(
            [](void* watcher) -> DWORD {
                static_cast<FolderWatcher*>(watcher)->ThreadEntryWatchConfig();
                return 0;
            },
            &*m_watcher, {m_stop.Get()});
    }
    void StopWatching() {
        m_watcher->PrepareStop();
        EXPECT_TRUE(m_thread.EndsAfter(m_stop.Get()));
    }

    // Whether the variables show the last save of each saver within the cap.
    bool ShowsSaves() const {
        const auto end = SteadyClock::now() + kCap;
        std::array<int64_t, kSavers> seen{};
        while (seen != m_saved && SteadyClock::now() < end) {
            m_store.GetInt64(L"Saved.0", &seen[0]);
            m_store.GetInt64(L"Saved.1", &seen[1]);
            Sleep(1);
        }
        return seen == m_saved;
    }

    const std::string m_padding = Padding();
    TemporaryFolder m_root;
    CountingLog m_messages;
    HostLog m_log;
    Mutex m_storeMutex;
    Mutex m_listMutex;
    VariableStore m_store{m_storeMutex};
    HostRegistry m_hosts{m_listMutex, {}};
    std::array<Mutex, 3> m_fileMutexes;
    std::array<FileTime, 3> m_times{};
    std::array<std::wstring, 3> m_paths{Below("data", ConfigFile::Settings),
                                        Below("data", ConfigFile::HmdList),
                                        Below("data", ConfigFile::Quality)};
    std::array<std::wstring, 3> m_defaultPaths{Below("defaults", ConfigFile::Settings),
                                               Below("defaults", ConfigFile::HmdList),
                                               Below("defaults", ConfigFile::Quality)};
    PrivateFiles m_files{
        PrivateFile(ConfigFile::Settings, m_paths[0], m_defaultPaths[0], m_times[0], m_fileMutexes[0]),
        PrivateFile(ConfigFile::HmdList, m_paths[1], m_defaultPaths[1], m_times[1], m_fileMutexes[1]),
        PrivateFile(ConfigFile::Quality, m_paths[2], m_defaultPaths[2], m_times[2], m_fileMutexes[2])};
    FilesContext m_context{m_store, m_log, SystemClock()};
    const std::wstring m_folder = (m_root.Path() / "data").wstring();
    Event m_stop{EventReset::Manual};
    std::atomic<long> m_passes{0};
    std::optional<FolderWatcher> m_watcher;
    Thread m_thread;
    SteadyClock::time_point m_end = SteadyClock::now() + SoakTime();
    std::array<int64_t, kSavers> m_saved{};
    std::atomic<long> m_lost{0}; // saves that the file does not have when their saver comes back
};

TEST_F(FilesConcurrency, EverythingAtOnceLosesNoSave) {
    CountingListener listener;
    m_hosts.RegisterHost(&listener);
    {
        Threads threads;
        for (int saver = 0; saver < kSavers; ++saver) {
            threads.Add([this, saver] { Repeat([&](long i) { Save(saver, i); }); });
        }
        threads.Add([this] {
            Repeat([&](long i) {
                SaveHeadset(i);
                Set(i);
            });
        });
        threads.Add([this] { RepeatUntilRepaired([&](long i) { Edit(i); }); });
        threads.Add([this] { Repeat([&](long i) { ReadAndPack(i); }); });
        threads.Add([this] { Repeat([&](long i) { Remove(i); }); });
        threads.Add([this] { Repeat([&](long) { Visit(); }); });
        threads.Add([this] {
            RepeatUntilRepaired([&](long) {
                StartWatching();
                Sleep(1000);
                StopWatching();
            });
        });
    }

    // What was removed comes back with the next load.
    Save(0, m_saved[0]);
    Save(1, m_saved[1]);
    StartWatching();
    EXPECT_TRUE(ShowsSaves());
    StopWatching();
    m_hosts.UnregisterHost(&listener);
    EXPECT_EQ(0, m_lost);
    EXPECT_GT(m_messages.repairs, 0);
    EXPECT_GT(m_passes, 0);
    EXPECT_GT(listener.reloads, 0);
}

} // namespace
} // namespace zq::test
