// A Module with separate folders and a record of its log, and what its tests share.
#pragma once

#include "ZQSettings.hpp"

#include "support/RecordingHost.h"
#include "support/win32/Folders.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

namespace zq::test {

// Keeps what Options::log is given; portable copies share it.
class LogLines {
public:
    void Add(int level, const std::wstring& text) {
        const std::lock_guard lock(m_mutex);
        m_lines.push_back({level, text});
    }
    std::vector<LogLine> All() const {
        const std::lock_guard lock(m_mutex);
        return m_lines;
    }
    // The level of the first message that has `part` inside; 0 without one.
    int LevelOf(const std::wstring& part) const {
        for (const LogLine& line : All()) {
            if (line.text.find(part) != std::wstring::npos) {
                return line.level;
            }
        }
        return 0;
    }
    // How many messages have `part` inside.
    int Count(const std::wstring& part) const {
        int count = 0;
        for (const LogLine& line : All()) {
            count += line.text.find(part) != std::wstring::npos ? 1 : 0;
        }
        return count;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<LogLine> m_lines;
};

inline Options OptionsFor(const ModuleFolders& folders) {
    Options options;
    options.hostPath = folders.HostPath();
    options.defaultDir = folders.DefaultDir();
    options.commonDataDir = folders.CommonDataDir();
    return options;
}

// What `action` raised; a failure of the test when it raised nothing or something else.
template <class Action>
Error ErrorOf(Action action) {
    try {
        action();
    } catch (const Error& error) {
        return error;
    }
    ADD_FAILURE() << "no zq::Error was raised";
    return Error(Reason::InvalidArgument, "");
}

// The folders and the log outlive the module.
class OpenModule : public testing::Test {
protected:
    ModuleFolders folders;
    LogLines log;
    Options options = [this] {
        Options made = OptionsFor(folders);
        made.log = [this](int level, const std::wstring& text) { log.Add(level, text); };
        return made;
    }();
    Module module{options};

    // Writes the private settings file, which the module then reads again.
    void EditSettings(const std::string& text) const { WriteBytes(folders.Private(kSettingsName), text); }

    // Whether the dispatcher has delivered everything that was set before.
    bool WaitForDelivery() {
        std::atomic<bool> isDelivered{false};
        const Subscription token = module.subscribe(
            L"Delivered", [&](const Change& change) { isDelivered = !change.isReload() || isDelivered; });
        module.set(L"Delivered", true, Notify::Always);
        return WaitFor([&] { return isDelivered.load(); });
    }
};

} // namespace zq::test
