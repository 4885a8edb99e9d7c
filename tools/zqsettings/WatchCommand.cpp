#include "Commands.h"

#include "ChangeFollower.h"
#include "Console.h"
#include "ConsoleHost.h"
#include "FolderLook.h"
#include "FolderMirror.h"
#include "FolderNotice.h"
#include "ModuleSession.h"
#include "StopRequest.h"
#include "Text.h"
#include "WatchReport.h"

#include <algorithm>
#include <chrono>
#include <memory>

namespace zq::tool {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// As long as the module gives an editor between two steps.
constexpr std::chrono::milliseconds kSettled{700};
constexpr std::chrono::milliseconds kIdlePause{250};
constexpr std::chrono::milliseconds kBusyPause{20};

struct WatchOptions {
    ModuleOptions module;
    RepairOptions repair;
    VariableFilter filter;
    std::string colour = "auto";
    double seconds = 0;
    bool isQuiet = false;
    bool isJson = false;
};

// Reports a file that stays refused or missing, once, and what became of it.
class RefusalFollower {
public:
    RefusalFollower(const RepairOptions& repair, fs::path defaults, WatchReport& report)
        : m_repair(repair), m_defaults(std::move(defaults)), m_report(report) {}

    void OnFile(PrivateFile file) {
        Followed& followed = m_files[static_cast<size_t>(file.file)];
        const bool isAccepted = file.state == PrivateFileState::Accepted;
        if (isAccepted && followed.isReported && !followed.isReplaced) {
            m_report.OnAccept(file);
        }
        followed = {std::move(file), Clock::now(), !isAccepted, followed.isReported && !isAccepted, false};
    }

    bool IsPending() const {
        return std::any_of(m_files.begin(), m_files.end(),
                           [](const Followed& file) { return file.isPending; });
    }

    void ReportSettled() {
        for (Followed& followed : m_files) {
            if (followed.isPending && Clock::now() - followed.since >= kSettled) {
                followed.isPending = false;
                followed.isReported = true;
                Report(followed);
            }
        }
    }

private:
    struct Followed {
        PrivateFile file;
        Clock::time_point since;
        bool isPending = false;
        bool isReported = false;
        bool isReplaced = false;
    };

    void Report(Followed& followed) {
        const PrivateFile& file = followed.file;
        const bool isMissing = file.state == PrivateFileState::Missing;
        followed.isReplaced = isMissing ? m_repair.isProvision : m_repair.isReplaceRefused;
        const std::optional<fs::path> keptAs =
            followed.isReplaced ? Repair(file, m_defaults) : std::optional<fs::path>();
        m_report.OnRefusal(file, keptAs, followed.isReplaced);
    }

    const RepairOptions& m_repair;
    fs::path m_defaults;
    WatchReport& m_report;
    std::array<Followed, kConfigFiles.size()> m_files;
};

// Returns why it ended.
std::string FollowUntilStopped(const WatchOptions& options, FolderMirror& mirror, RefusalFollower& refusals) {
    const StopRequest stop;
    const FolderNotice notice(mirror.Original());
    const auto end = options.seconds == 0
                         ? Clock::time_point::max()
                         : Clock::now() + std::chrono::ceil<Clock::duration>(
                                              std::chrono::duration<double>(options.seconds));
    while (Clock::now() < end) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        const auto pause = std::min(left, refusals.IsPending() ? kBusyPause : kIdlePause);
        if (stop.Wait(notice.Get(), static_cast<unsigned>(pause.count()))) {
            return StopRequest::Reason();
        }
        notice.Renew();
        for (PrivateFile& file : mirror.Follow()) {
            refusals.OnFile(std::move(file));
        }
        refusals.ReportSettled();
        if (HasOutputFailed()) {
            return "output"; // nobody reads any more
        }
    }
    return "time";
}

// Where there is no folder to watch, that with the default files is.
fs::path FolderToWatch(const WatchOptions& options) {
    const auto folder = FindDataFolderOrDefaults(options.module.data);
    return folder ? *folder : DefaultsFolderOf(options.module.defaults);
}

void Watch(const WatchOptions& options) {
    const fs::path folder = FolderToWatch(options);
    const fs::path defaults = DefaultsFolderOf(options.module.defaults);
    const PrivateFiles files = LookAtPrivateFiles(folder);
    RequireRepairable(files, options.repair);
    for (const PrivateFile& file : files) {
        PrintRepair(file, Repair(file, defaults));
    }

    const std::unique_ptr<WatchReport> report =
        options.isJson ? MakeJsonReport()
                       : MakeTextReport(options.isQuiet, WantsColour(options.colour, stdout));
    FolderMirror mirror(folder);
    ConsoleHost host([&](const ModuleMessage& message) { report->OnMessage(message); },
                     mirror.Copy().native(), folder.native());
    ModuleOptions module = options.module;
    module.data = Utf8FromPath(mirror.Copy());
    ModuleSession session(module, host);
    ChangeFollower follower(session, options.filter, folder, *report);
    report->OnBegin({folder, defaults, follower.Variables()});
    session.Variables().RegisterHost(&follower);
    session.Settings().DoStart();

    RefusalFollower refusals(options.repair, defaults, *report);
    const std::string reason = FollowUntilStopped(options, mirror, refusals);

    session.Settings().DoStop();
    session.Variables().UnregisterHost(&follower);
    session.Settings().DoRelease();
    session.End();
    report->OnEnd(reason, follower.Totals());
}

} // namespace

void AddWatchCommand(CLI::App& app) {
    const auto options = std::make_shared<WatchOptions>();
    Command command(app, "watch",
                    "Follow a data folder and print each message of the module, each\n"
                    "reload with what it changed, and each file that is refused, until Ctrl+C");
    AddNames(command, options->filter);
    AddModuleOptions(command, options->module);
    AddProvisionFlag(command, options->repair);
    AddReplaceFlag(command, options->repair);
    AddFilterOptions(command, options->filter);
    command.AddFlag("-q,--quiet", options->isQuiet, "Only what changes; refused files go to stderr");
    command.AddFlag("--json", options->isJson, "Print JSON lines, as docs/zqsettings.md describes them");
    command.Add("--for", options->seconds, "SECONDS", "End after so many seconds instead of at Ctrl+C")
        .Within(0, kLongestRunSeconds);
    command.AddColour(options->colour);
    command.Run([options] { Watch(*options); });
}

} // namespace zq::tool
