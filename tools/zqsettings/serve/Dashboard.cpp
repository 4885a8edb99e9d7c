#include "serve/Dashboard.h"

#include "Failure.h"
#include "FileBytes.h"
#include "FolderNotice.h"
#include "LiveMessage.h"
#include "PrivateFiles.h"
#include "Text.h"
#include "TimeText.h"

#include "check/FileCheck.h"
#include "config/ConfigFile.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <utility>

#include <windows.h>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

// Where the system gives no notice of a change; and as often as a refused file has to be looked at.
constexpr DWORD kLookEveryMilliseconds = 40;
// A file that is refused may be half written: it is judged after it has not changed for so long.
constexpr std::chrono::milliseconds kSteady(120);
constexpr double kLongestReloadMilliseconds = 1000;

fs::path MakeDataFolder(const ScratchFolder& scratch) {
    fs::path folder = scratch.Path() / L"ZQserver";
    fs::create_directory(folder);
    return folder;
}

void WriteInPlace(const fs::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

} // namespace

Dashboard::Dashboard(const DashboardOptions& options)
    : m_options(options),
      m_ownFolder(options.module.data.empty() ? std::optional<ScratchFolder>(std::in_place) : std::nullopt),
      m_files(m_ownFolder ? MakeDataFolder(*m_ownFolder) : DataFolderOf(options.module.data)),
      m_defaults(DefaultsFolderOf(options.module.defaults)),
      m_state(Utf8FromPath(m_files.Folder()), Utf8FromPath(m_defaults.Folder())),
      m_refused(m_files, m_defaults) {
    m_changes.emplace();
    if (m_ownFolder) {
        for (const ConfigFile file : kConfigFiles) {
            fs::copy_file(m_defaults.PathOf(file), m_files.PathOf(file));
        }
    }
    if (m_options.isReplaceRefused) {
        RepairFiles();
    }
    for (const ConfigFile file : kConfigFiles) {
        m_state.UpdateFile(m_files.StateOf(file));
    }
    Start();
    m_follower = std::thread([this] { Follow(); });
}

Dashboard::~Dashboard() {
    SetEvent(m_end.get());
    m_follower.join();
    {
        const std::lock_guard lock(m_runMutex);
        m_run.reset();
    }
    m_changes.reset();
}

bool Dashboard::WithLiveModule(const std::function<void(ModuleRun&)>& work) {
    const std::lock_guard lock(m_runMutex);
    if (!m_run || m_copy) {
        return false;
    }
    work(*m_run);
    return true;
}

void Dashboard::RepairFiles() const {
    for (const PrivateFile& file : LookAtPrivateFiles(m_files.Folder())) {
        PrintRepair(file, Repair(file, m_defaults.Folder()));
    }
}

// Nothing where the module may run on the folder itself.
std::string Dashboard::ReasonForCopy() const {
    if (m_options.isLook) {
        return "--look was given: the module works on a copy, and this page writes nothing";
    }
    if (_wcsicmp(m_files.Folder().filename().c_str(), kDataFolderName) != 0) {
        return std::string("the folder is not named ZQserver: the module works on a copy");
    }
    if (m_options.isReplaceRefused) {
        return "";
    }
    for (const ConfigFile file : kConfigFiles) {
        const DataFileState state = m_files.StateOf(file);
        if (!state.isAccepted) {
            return NameOf(file) + (state.exists ? " is refused" : " is missing") +
                   ": the module works on a copy, with the default in its place, until that is fixed";
        }
    }
    return "";
}

void Dashboard::Start() {
    const std::lock_guard lock(m_runMutex);
    m_run.reset();
    const std::string reason = ReasonForCopy();
    if (!reason.empty()) {
        StartOnCopy(reason);
        return;
    }
    m_copy.reset();
    ModuleOptions options = m_options.module;
    options.data = Utf8FromPath(m_files.Folder());
    m_run = std::make_unique<ModuleRun>(options, MakeEvents());
    const std::string scratch =
        m_ownFolder ? "no data folder was given: this is a copy of the default files, removed at the end"
                    : "";
    m_state.SetRun({!m_ownFolder, true, scratch}, m_run->Variables());
}

void Dashboard::StartOnCopy(const std::string& reason) {
    m_copy.emplace();
    const DataFiles copy(MakeDataFolder(*m_copy));
    for (const ConfigFile file : kConfigFiles) {
        const std::optional<std::string> bytes = m_files.Read(file);
        if (bytes && WouldLoad(file, *bytes)) {
            WriteInPlace(copy.PathOf(file), *bytes);
        }
    }
    ModuleOptions options = m_options.module;
    options.data = Utf8FromPath(copy.Folder());
    m_run = std::make_unique<ModuleRun>(options, MakeEvents());
    m_state.SetRun({false, !m_options.isLook, reason}, m_run->Variables());
}

ModuleRun::Events Dashboard::MakeEvents() {
    return {[this](int32_t level, const std::string& tag, const std::string& text) {
                m_state.AddLog(level, tag, text);
            },
            [this] { OnReload(); }, [this](const wchar_t* name) { OnChange(name); }};
}

void Dashboard::OnReload() {
    const std::lock_guard lock(m_changeMutex);
    if (!m_isReloaded) {
        const double milliseconds = MillisecondsSinceLastWrite(m_files.Folder());
        // A default copy carries the old time of its file, which says nothing.
        m_milliseconds =
            milliseconds < kLongestReloadMilliseconds ? std::optional(milliseconds) : std::nullopt;
    }
    m_isReloaded = true;
    ScheduleChanges();
}

void Dashboard::OnChange(const wchar_t* name) {
    const std::lock_guard lock(m_changeMutex);
    m_changedNames.insert(name);
    ScheduleChanges();
}

// The module's thread goes on; notices that come while variables are listed are answered by one more listing.
void Dashboard::ScheduleChanges() {
    if (!m_isScheduled) {
        m_isScheduled = m_changes->Add([this] { TakeChanges(); });
    }
}

void Dashboard::TakeChanges() {
    std::set<std::wstring> names;
    bool isReload = false;
    std::optional<double> milliseconds;
    {
        const std::lock_guard lock(m_changeMutex);
        names.swap(m_changedNames);
        isReload = std::exchange(m_isReloaded, false);
        milliseconds = std::exchange(m_milliseconds, std::nullopt);
        m_isScheduled = false;
    }
    if (isReload) {
        ReportRefused();
    }
    const std::lock_guard lock(m_runMutex);
    if (!m_run) {
        return;
    }
    std::vector<Variable> now = m_run->Variables();
    m_state.ChangeVariables(now, names);
    if (isReload) {
        m_state.ReloadVariables(std::move(now), milliseconds);
        // As a server does: the headset in use may be another one now. A notice of it follows.
        m_run->Settings().UpdateDefaultDeviceName();
    }
}

void Dashboard::ReportRefused() {
    // Whoever finds nothing to report may say that the file is accepted again: only after the report of
    // another thread.
    const std::lock_guard lock(m_reportMutex);
    for (const RefusedTexts::Refused& refused : m_refused.Take()) {
        KeepBeside(refused);
        m_state.Add(RefusalMessage(refused.file, refused.bytes, "replaced", {"", refused.id}));
    }
}

// Where the folder has a sub-folder "rejected", the module itself has moved the file there.
void Dashboard::KeepBeside(const RefusedTexts::Refused& refused) {
    const fs::path path = m_files.PathOf(refused.file).native() + L".refused-" + WideFromUtf8(UtcFileStamp());
    try {
        if (!fs::exists(m_files.Folder() / L"rejected")) {
            WriteNewFile(path, refused.bytes);
        }
    } catch (const std::exception& error) {
        m_state.Add(Message("notice").Text("text", error.what()).Take());
    }
}

void Dashboard::Follow() {
    const FolderNotice notice(m_files.Folder());
    const std::array<HANDLE, 2> events = {m_end.get(), notice.Get()};
    const DWORD count = notice.Get() ? 2 : 1;
    while (WaitForMultipleObjects(count, events.data(), FALSE, kLookEveryMilliseconds) != WAIT_OBJECT_0) {
        notice.Renew();
        Look();
    }
}

void Dashboard::Look() {
    m_state.UpdateFolder(m_files.HasFolder());
    m_refused.Look();
    for (const ConfigFile file : kConfigFiles) {
        FollowFile(file);
    }
    if (m_copy && ReasonForCopy().empty()) {
        try {
            Start();
        } catch (const std::exception& error) {
            m_state.Add(Message("notice").Text("text", error.what()).Take());
        }
    }
}

void Dashboard::FollowFile(ConfigFile file) {
    Followed& followed = m_followed[static_cast<size_t>(file)];
    const auto stamp = m_files.Stamp(file);
    const auto now = std::chrono::steady_clock::now();
    if (stamp != followed.stamp) {
        followed.stamp = stamp;
        followed.since = now;
        followed.isJudged = false;
    } else if (followed.isJudged) {
        return;
    }
    followed.isJudged = now - followed.since >= kSteady;
    const DataFileState state = m_files.StateOf(file);
    if (state.isAccepted) {
        m_state.UpdateFile(state);
        if (std::exchange(followed.isReported, false)) {
            if (!m_copy) {
                ReportRefused(); // what is accepted may be the default that the module put in its place
            }
            m_state.Add(AcceptMessage(file));
        }
        CopyIntoRun(file);
    } else if (followed.isJudged) {
        m_state.UpdateFile(state);
        ReportUnusable(file);
        followed.isReported = true;
    }
}

void Dashboard::ReportUnusable(ConfigFile file) {
    const std::optional<std::string> bytes = m_files.Read(file);
    m_state.Add(bytes ? RefusalMessage(file, *bytes, "kept") : MissingMessage(file, "missing"));
}

void Dashboard::CopyIntoRun(ConfigFile file) {
    const std::lock_guard lock(m_runMutex);
    const std::optional<std::string> bytes = m_files.Read(file);
    if (!m_copy || !bytes || !WouldLoad(file, *bytes)) {
        return;
    }
    const DataFiles copy(m_run->DataFolder());
    if (copy.Read(file) != bytes) {
        WriteInPlace(copy.PathOf(file), *bytes);
    }
}

} // namespace zq::tool
