#include "Commands.h"

#include "StopRequest.h"
#include "Text.h"
#include "serve/Dashboard.h"
#include "serve/PageFiles.h"
#include "serve/Questions.h"
#include "serve/RandomText.h"
#include "serve/WebServer.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

#include <windows.h>

#include <shellapi.h>

namespace zq::tool {

namespace {

struct ServeOptions {
    DashboardOptions dashboard;
    uint16_t port = 0;
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
    Dashboard dashboard(options.dashboard);
    const std::string token = RandomHex();
    const Serving serving(dashboard, {options.port, token, PageFiles()});
    const std::string address = "http://127.0.0.1:" + std::to_string(serving.Port()) + '/' + token + '/';
    const RunMode mode = dashboard.State().Mode();
    std::printf("Serving %s at\n%s\nCtrl+C ends.\n", Utf8FromPath(dashboard.Files().Folder()).c_str(),
                address.c_str());
    if (!mode.reason.empty()) {
        std::printf("Note: %s.\n", mode.reason.c_str());
    }
    std::fflush(stdout);
    if (options.isOpened) {
        ShellExecuteW(nullptr, L"open", WideFromUtf8(address).c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    }
    stop.Wait(options.seconds);
}

} // namespace

void AddServeCommand(CLI::App& app) {
    const auto options = std::make_shared<ServeOptions>();
    CLI::App* const command = app.add_subcommand(
        "serve", "Show the variables, the files and what happens to them in a browser of this\n"
                 "machine, until Ctrl+C");
    AddModuleOptions(*command, options->dashboard.module);
    command->add_option("--port", options->port, "The port of 127.0.0.1.\nDefault: one that is free")
        ->type_name("N");
    command->add_flag("--open", options->isOpened, "Open the page in the default browser");
    command->add_flag("--look", options->dashboard.isLook,
                      "Work on a copy of the folder, and let no page write");
    command->add_flag("--replace-refused", options->dashboard.isReplaceRefused,
                      "Let the module replace a file that it refuses, as a server\n"
                      "does; the file is kept as NAME.refused-TIME. Otherwise the\n"
                      "module works on a copy until the file is fixed");
    command->add_option("--for", options->seconds, "End after so many seconds instead of at Ctrl+C")
        ->type_name("SECONDS")
        ->check(CLI::NonNegativeNumber);
    command->callback([options] { Serve(*options); });
}

} // namespace zq::tool
