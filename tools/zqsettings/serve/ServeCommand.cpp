#include "Commands.h"

#include "Command.h"
#include "Console.h"
#include "DataFolder.h"
#include "Failure.h"
#include "StopRequest.h"
#include "Text.h"
#include "serve/Dashboard.h"
#include "serve/PageFiles.h"
#include "serve/Questions.h"
#include "serve/RandomText.h"
#include "serve/web/WebServer.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include <windows.h>

#include <shellapi.h>

namespace zq::tool {

namespace {

struct ServeOptions {
    DashboardOptions dashboard;
    int32_t port = 0;
    double seconds = 0;
    bool isOpened = false;
};

// Joins the parts for as long as pages are served.
class Serving {
public:
    Serving(Dashboard& dashboard, const WebServer::Options& options)
        : m_dashboard(dashboard), m_questions(dashboard), m_server(options, m_questions) {
        m_dashboard.State().SetServer(&m_server);
        m_questions.SetServer(&m_server);
    }
    ~Serving() {
        m_dashboard.State().Add(Message("end").Text("reason", "closed").Take());
        m_dashboard.State().SetServer(nullptr);
        m_questions.SetServer(nullptr);
    }
    Serving(const Serving&) = delete;
    Serving& operator=(const Serving&) = delete;

    uint16_t Port() const { return m_server.Port(); }

private:
    Dashboard& m_dashboard;
    Questions m_questions;
    WebServer m_server;
};

void Serve(const ServeOptions& options) {
    const StopRequest stop;
    DashboardOptions found = options.dashboard;
    if (const std::optional<std::filesystem::path> folder = FindDataFolder(found.module.data)) {
        found.module.data = Utf8FromPath(*folder);
    }
    Dashboard dashboard(found);
    const std::string token = RandomHex();
    const Serving serving(dashboard, {static_cast<uint16_t>(options.port), token, PageFiles()});
    const std::string address = "http://127.0.0.1:" + std::to_string(serving.Port()) + '/' + token + '/';
    const RunMode mode = dashboard.State().Mode();
    Print("Serving " + Utf8FromPath(dashboard.Files().Folder()) + " at\n" + address + "\nCtrl+C ends.\n" +
          (mode.reason.empty() ? "" : "Note: " + mode.reason + ".\n"));
    if (options.isOpened) {
        ShellExecuteW(nullptr, L"open", WideFromUtf8(address).c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    }
    stop.Wait(nullptr, options.seconds > 0 ? static_cast<unsigned>(options.seconds * 1000) : INFINITE);
}

} // namespace

void AddServeCommand(CLI::App& app) {
    const auto options = std::make_shared<ServeOptions>();
    Command command(app, "serve",
                    "Show the variables, the files and what happens to them in a browser of\n"
                    "this machine, until Ctrl+C");
    AddModuleOptions(command, options->dashboard.module, ", then a copy of the default files");
    command.Add("--port", options->port, "N", "The port of 127.0.0.1. Default: one that is free")
        .Within(0, UINT16_MAX);
    command.AddFlag("--open", options->isOpened, "Open the page in the default browser");
    command.AddFlag("--look", options->dashboard.isLook,
                    "Work on a copy of the folder, and let no page write");
    command.AddFlag("--replace-refused", options->dashboard.isReplaceRefused,
                    "Put the default in the place of a file that is refused, kept as\n"
                    "NAME.refused-TIME, or missing. Otherwise the module works on a\n"
                    "copy until the file is fixed");
    command.Add("--for", options->seconds, "SECONDS", "End after so many seconds instead of at Ctrl+C")
        .Within(0, kLongestRunSeconds);
    command.Run([options] { Serve(*options); });
}

} // namespace zq::tool
