// zqsettings: the settings module from a command line. Its texts are UTF-8 in both directions.
#include "Commands.h"
#include "Failure.h"
#include "Text.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

namespace {

constexpr int kExitFailure = 1;

// The arguments in the order in which the parser takes them off: the last one first.
std::vector<std::string> ReversedArguments() {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = count - 1; i > 0; --i) {
        arguments.push_back(zq::tool::Utf8FromWide(words[i]));
    }
    LocalFree(words);
    return arguments;
}

int Run() {
    CLI::App app("Shows and changes the configuration of a streaming server through its settings module.",
                 "zqsettings");
    app.set_version_flag("--version", ZQ_VERSION);
    app.require_subcommand(1);
    // A path may begin with a slash.
    app.allow_windows_style_options(false);
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        return std::string("zqsettings: ") + error.what() + "; --help tells more.\n";
    });
    app.footer("\"zqsettings COMMAND --help\" tells more about a command.\n"
               "Exit code 0; otherwise other than 0, and one sentence on stderr.");
    app.get_formatter()->column_width(18);
    zq::tool::AddCheckCommand(app);
    zq::tool::AddListCommand(app);
    zq::tool::AddGetCommand(app);
    zq::tool::AddDiffCommand(app);
    zq::tool::AddExplainCommand(app);
    zq::tool::AddSurveyCommand(app);
    zq::tool::AddShowCommand(app);
    zq::tool::AddWatchCommand(app);
    zq::tool::AddServeCommand(app);
    zq::tool::AddSetCommand(app);
    zq::tool::AddSetHmdCommand(app);
    zq::tool::AddPacketCommand(app);
    try {
        app.parse(ReversedArguments());
        return 0;
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
}

} // namespace

int main() {
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    try {
        return Run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zqsettings: %s.\n", error.what());
        return kExitFailure;
    }
}
