#include "Commands.h"

#include "ChangePrinter.h"
#include "ConsoleHost.h"
#include "ModuleSession.h"
#include "StopRequest.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

namespace zq::tool {

namespace {

struct WatchOptions {
    ModuleOptions module;
    double seconds = 0;
};

void Watch(const WatchOptions& options) {
    const StopRequest stop;
    ConsoleHost host(stdout);
    ModuleSession session(options.module, host);
    ChangePrinter printer(session);
    session.Variables().RegisterHost(&printer);
    session.Settings().DoStart();
    std::printf("Watching %s; Ctrl+C ends.\n", session.DataFolderText().c_str());
    std::fflush(stdout);

    stop.Wait(options.seconds);

    session.Settings().DoStop();
    session.Variables().UnregisterHost(&printer);
    session.Settings().DoRelease();
    session.End();
    std::printf("%s\n", printer.Summary().c_str());
}

} // namespace

void AddWatchCommand(CLI::App& app) {
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* const command =
        app.add_subcommand("watch", "Run the module, follow its data folder and print each message, each\n"
                                    "reload with what it changed, and each notice of a change, until Ctrl+C");
    AddModuleOptions(*command, options->module);
    command->add_option("--for", options->seconds, "End after so many seconds instead of at Ctrl+C")
        ->type_name("SECONDS")
        ->check(CLI::NonNegativeNumber);
    command->callback([options] { Watch(*options); });
}

} // namespace zq::tool
