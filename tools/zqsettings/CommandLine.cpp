#include "CommandLine.h"

#include "Commands.h"
#include "Console.h"
#include "Failure.h"
#include "Text.h"
#include "UsageHelp.h"
#include "Versions.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <utility>

namespace zq::tool {

namespace {

void Describe(CLI::App& app) {
    app.set_version_flag("--version", VersionsText);
    app.require_subcommand(1);
    // A path may begin with a slash.
    app.allow_windows_style_options(false);
    app.footer("\"zqsettings help COMMAND\" prints the options of a command.\n"
               "Exit codes: 0 done, or yes; 1 no; 2 could not look or act; 3 usage. 2 and 3 come\n"
               "with a sentence on stderr, and so does 1 unless the output is the answer.");
    app.get_formatter()->column_width(18);
    AddCommands(app);
}

// Help and versions end well; everything else that the parser raises is a mistake in the command line.
int ExitCodeOfUsage(const CLI::App& app, const CLI::ParseError& error,
                    const std::vector<std::string>& arguments) {
    if (dynamic_cast<const CLI::RuntimeError*>(&error)) {
        return error.get_exit_code();
    }
    if (error.get_exit_code() == 0) {
        Print(HelpOrVersion(app, error));
        return 0;
    }
    throw Failure(UsageText(app, error.what(), arguments), ExitCode::Usage);
}

int Run(std::vector<std::string> arguments) {
    CLI::App app("Shows and changes the configuration of a streaming server through its settings module.",
                 "zqsettings");
    Describe(app);
    TurnHelpAround(arguments);
    RequireCommand(app, arguments);
    try {
        // The parser takes the last one first.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        return static_cast<int>(ExitCode::Yes);
    } catch (const CLI::ParseError& error) {
        return ExitCodeOfUsage(app, error, arguments);
    }
}

int RunAndReport(std::vector<std::string> arguments) {
    try {
        return Run(std::move(arguments));
    } catch (const Ended& ended) {
        return static_cast<int>(ended.code);
    } catch (const Failure& failure) {
        PrintFailure(failure.what());
        return static_cast<int>(failure.Code());
    } catch (const std::exception& error) {
        PrintFailure(error.what());
        return static_cast<int>(ExitCode::Cannot);
    }
}

} // namespace

int RunCommandLine(std::vector<std::string> arguments) {
    const int exitCode = RunAndReport(std::move(arguments));
    if (const unsigned long error = TakeOutputError()) {
        PrintFailure("the output cannot be written: " + SystemErrorText(error));
        return static_cast<int>(ExitCode::Cannot);
    }
    return exitCode;
}

} // namespace zq::tool
