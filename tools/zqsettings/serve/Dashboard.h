// The dashboard without its network: runs the module on the data folder, or on a copy of it as long as a file
// there is refused or missing, follows the files, and keeps the state that the pages show.
#pragma once

#include "DataFolder.h"
#include "ModuleSession.h"
#include "ScratchFolder.h"
#include "serve/DataFiles.h"
#include "serve/LiveState.h"
#include "serve/ModuleRun.h"
#include "serve/RefusedTexts.h"
#include "serve/WorkQueue.h"

#include "platform/Handle.h"

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>

namespace zq::tool {

struct DashboardOptions {
    ModuleOptions module;
    bool isLook = false; // always a copy, and no page writes
    bool isReplaceRefused =
        false; // the module may replace what it refuses; the refused file is kept beside it
};

class Dashboard {
public:
    // Loads the files. Raises Failure for a folder or DLL that is missing.
    explicit Dashboard(const DashboardOptions& options);
    ~Dashboard();
    Dashboard(const Dashboard&) = delete;
    Dashboard& operator=(const Dashboard&) = delete;

    LiveState& State() { return m_state; }
    // Of the folder that the pages show and write.
    const DataFiles& Files() const { return m_files; }
    const DataFiles& Defaults() const { return m_defaults; }
    const ModuleOptions& Module() const { return m_options.module; }
    std::vector<RefusedTexts::Refused> KeptTexts() const { return m_refused.Kept(); }

    // Runs `work` on the module while it is not exchanged. Nothing is called on a copy.
    bool WithLiveModule(const std::function<void(ModuleRun&)>& work);

private:
    struct Followed {
        std::pair<uint64_t, uint64_t> stamp{1, 1}; // of the last look, an impossible one before the first
        std::chrono::steady_clock::time_point since;
        bool isJudged = false;   // it has not changed for long enough
        bool isReported = false; // as refused or missing
    };

    void RepairFiles() const;
    std::string ReasonForCopy() const;
    void Start();
    void StartOnCopy(const std::string& reason);
    ModuleRun::Events MakeEvents();

    void OnReload();
    void OnChange(const wchar_t* name);
    void ScheduleChanges();
    void TakeChanges();
    void ReportRefused();
    void KeepBeside(const RefusedTexts::Refused& refused);

    void Follow();
    void Look();
    void FollowFile(ConfigFile file);
    void ReportUnusable(ConfigFile file);
    void CopyIntoRun(ConfigFile file);

    const DashboardOptions m_options;
    std::optional<ScratchFolder> m_ownFolder; // where no data folder is given
    DataFiles m_files;
    DataFiles m_defaults;
    LiveState m_state;
    RefusedTexts m_refused;
    std::mutex m_reportMutex; // from taking a refused text until it is reported

    std::mutex m_runMutex;
    std::optional<ScratchFolder> m_copy;
    std::unique_ptr<ModuleRun> m_run;

    std::mutex m_changeMutex;
    bool m_isScheduled = false; // TakeChanges is on its way
    std::set<std::wstring> m_changedNames;
    bool m_isReloaded = false;
    std::optional<double> m_milliseconds;

    const UniqueHandle m_end{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    std::array<Followed, kConfigFiles.size()> m_followed;
    // The last members: their threads use all of the above.
    std::optional<WorkQueue> m_changes;
    std::thread m_follower;
};

} // namespace zq::tool
