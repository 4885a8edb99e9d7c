// The private files on real folders, with everything that they need: a clock that only the test advances, a
// log that keeps every message, and a store.
//
// Files that a test writes get artificial times, far in the past of the clock and each later than the one
// before, so that nothing depends on the speed of the machine.
#pragma once

#include "base/HostLog.h"
#include "module/files/PrivateFiles.h"
#include "platform/Clock.h"
#include "platform/Handle.h"
#include "platform/Mutex.h"
#include "support/RecordingHost.h"
#include "support/win32/Folders.h"
#include "variables/VariableStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace zq::test {

inline constexpr ConfigFile kSettings = ConfigFile::Settings;
inline constexpr ConfigFile kHmdList = ConfigFile::HmdList;
inline constexpr ConfigFile kQuality = ConfigFile::Quality;

// Somebody's unfinished work, which is never lost.
inline constexpr std::string_view kBroken = "{\"Somebody's\":\"work\"";

inline constexpr uint64_t kTicksPerMillisecond = 10'000;
inline constexpr uint64_t kTicksPerSecond = 10'000'000;
inline constexpr uint64_t kTestEpoch = 134'000'000'000'000'000; // in 2025

// Time passes only in Sleep() and Advance(), which run the actions planned for that time.
class TestClock final : public Clock {
public:
    uint64_t Milliseconds() const override { return m_now; }
    uint64_t FileTicks() const override { return kTestEpoch + m_now * kTicksPerMillisecond; }
    void Sleep(uint32_t milliseconds) const override {
        if (onSleep) {
            onSleep(milliseconds);
        }
        Advance(milliseconds);
    }

    void Advance(uint64_t milliseconds) const {
        const uint64_t end = m_now + milliseconds;
        while (!m_plan.empty() && m_plan.begin()->first <= end) {
            const auto action = m_plan.begin()->second;
            m_now = std::max(m_now, m_plan.begin()->first);
            m_plan.erase(m_plan.begin());
            action();
        }
        m_now = end;
    }
    // Runs `action` once after another `milliseconds` have passed.
    void In(uint64_t milliseconds, std::function<void()> action) {
        m_plan.emplace(m_now + milliseconds, std::move(action));
    }
    std::optional<uint64_t> NextPlanned() const {
        return m_plan.empty() ? std::nullopt : std::optional(m_plan.begin()->first);
    }

    std::function<void(uint32_t)> onSleep;

private:
    mutable uint64_t m_now = 5000;
    mutable std::multimap<uint64_t, std::function<void()>> m_plan;
};

inline void SetLastWrite(const std::filesystem::path& path, uint64_t ticks) {
    const UniqueHandle file = AdoptFileHandle(CreateFileW(
        path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, 0, nullptr));
    const FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32U)};
    ASSERT_TRUE(file && SetFileTime(file.get(), nullptr, nullptr, &time)) << path.string();
}

// Another program that has a file open, sharing `share`.
inline UniqueHandle Hold(const std::filesystem::path& path, DWORD access = GENERIC_READ, DWORD share = 0) {
    UniqueHandle file =
        AdoptFileHandle(CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(file) << path.string() << ": " << GetLastError();
    return file;
}

// Whether another thread could lock the mutex now.
inline bool IsFree(const Mutex& mutex) {
    bool isFree = false;
    std::thread([&] {
        isFree = WaitForSingleObject(mutex.Get(), 0) == WAIT_OBJECT_0;
        if (isFree) {
            ReleaseMutex(mutex.Get());
        }
    }).join();
    return isFree;
}

class FilesFixture : public testing::Test {
protected:
    FilesFixture() {
        log.SetHost(&host);
        // Without a list of headsets, which logs more.
        WriteBytes(DefaultOf(ConfigFile::Settings), R"({"Source":"default","Level":1})");
        for (const ConfigFile kind : kConfigFiles) {
            SetLastWrite(DefaultOf(kind), NextTime());
        }
    }

    std::filesystem::path PathOf(ConfigFile kind) const { return folders.Private(NameOfConfigFile(kind)); }
    std::filesystem::path DefaultOf(ConfigFile kind) const { return folders.Default(NameOfConfigFile(kind)); }
    PrivateFile& File(ConfigFile kind) { return files[static_cast<size_t>(kind)]; }
    const Mutex& MutexOf(ConfigFile kind) const { return mutexes[static_cast<size_t>(kind)]; }

    void Write(ConfigFile kind, std::string_view bytes) {
        WriteBytes(PathOf(kind), bytes);
        SetLastWrite(PathOf(kind), NextTime());
    }
    // Writes a file as if at the clock's current time.
    void WriteNow(ConfigFile kind, std::string_view bytes) {
        WriteBytes(PathOf(kind), bytes);
        SetLastWrite(PathOf(kind), clock.FileTicks());
    }
    std::string Content(ConfigFile kind) const { return ReadBytes(PathOf(kind)); }
    std::string DefaultContent(ConfigFile kind) const { return ReadBytes(DefaultOf(kind)); }

    // The three files are loaded as they are, and nothing has been logged.
    void StartLoaded() {
        Write(ConfigFile::Settings, R"({"Source":"user"})");
        Write(ConfigFile::HmdList, R"([])");
        Write(ConfigFile::Quality, R"({})");
        ProvisionAndLoadPrivateFiles(files, context);
        host.Clear();
    }

    std::optional<int64_t> Int64(const wchar_t* name) const {
        int64_t value = 0;
        return store.GetInt64(name, &value) ? std::optional(value) : std::nullopt;
    }
    std::wstring String(const wchar_t* name) const {
        std::array<wchar_t, 64> text{};
        return store.GetString(name, text.data(), static_cast<int32_t>(text.size())) ? text.data()
                                                                                     : L"(none)";
    }

    std::vector<std::wstring> NamesIn(const std::filesystem::path& folder) const {
        std::vector<std::wstring> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            names.push_back(entry.path().filename().wstring());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    std::wstring Copied(const std::wstring& before, ConfigFile kind, const std::wstring& after) const {
        return before + PathOf(kind).wstring() + after;
    }
    LogLine ParseFailed(ConfigFile kind, int result, size_t length) const {
        return {LogNotable, L"LoadSettingsFromFile() JSON paser " + PathOf(kind).wstring() +
                                L" fail ret length: " + std::to_wstring(result) + L" , file length:" +
                                std::to_wstring(length) + L" copy again."};
    }

    ModuleFolders folders;
    RecordingHost host;
    HostLog log;
    TestClock clock;
    Mutex storeMutex;
    VariableStore store{storeMutex};
    std::array<Mutex, 3> mutexes;
    std::array<FileTime, 3> times{};
    std::array<std::wstring, 3> paths{PathOf(ConfigFile::Settings).wstring(),
                                      PathOf(ConfigFile::HmdList).wstring(),
                                      PathOf(ConfigFile::Quality).wstring()};
    std::array<std::wstring, 3> defaultPaths{DefaultOf(ConfigFile::Settings).wstring(),
                                             DefaultOf(ConfigFile::HmdList).wstring(),
                                             DefaultOf(ConfigFile::Quality).wstring()};
    PrivateFiles files{PrivateFile(ConfigFile::Settings, paths[0], defaultPaths[0], times[0], mutexes[0]),
                       PrivateFile(ConfigFile::HmdList, paths[1], defaultPaths[1], times[1], mutexes[1]),
                       PrivateFile(ConfigFile::Quality, paths[2], defaultPaths[2], times[2], mutexes[2])};
    FilesContext context{store, log, clock};

private:
    uint64_t NextTime() { return kTestEpoch - 1000 * kTicksPerSecond + kTicksPerSecond * m_nextTime++; }

    uint64_t m_nextTime = 0;
};

} // namespace zq::test
