#include "UsageHelp.h"

#include "Failure.h"
#include "Text.h"

#include "check/NearestName.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace zq::tool {

namespace {

std::string Nearest(const std::string& name, const std::vector<std::wstring>& known) {
    const std::vector<std::wstring> nearest = NearestNames(WideFromUtf8(name), known, 1);
    return nearest.empty() ? "" : "; did you mean " + Utf8FromWide(nearest.front()) + "?";
}

std::vector<std::wstring> KnownCommands(const CLI::App& app) {
    std::vector<std::wstring> names;
    for (const CLI::App* command : app.get_subcommands({})) {
        names.push_back(WideFromUtf8(command->get_name()));
    }
    return names;
}

std::vector<std::wstring> KnownOptions(const CLI::App& command) {
    std::vector<std::wstring> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back(L"--" + WideFromUtf8(name));
        }
    }
    return names;
}

const CLI::App* FindCommand(const CLI::App& app, const std::string& name) {
    const std::vector<const CLI::App*> commands = app.get_subcommands({});
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&](const CLI::App* command) { return command->get_name() == name; });
    return found == commands.end() ? nullptr : *found;
}

// The parser's sentences for some mistakes, in plain words.
std::string PlainText(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    text.erase(text.find_last_not_of(". ") + 1);
    const std::string option = text.substr(0, text.find(':'));
    const auto has = [&](const char* part) { return text.find(part) != std::string::npos; };
    if (has(": At Most 1 required but received")) {
        return option + " was given more than once";
    }
    if (has(" missing") && has(" required ")) {
        return option + " needs a value";
    }
    for (const std::string beginning :
         {"The following argument was not expected: ", "The following arguments were not expected: "}) {
        if (text.starts_with(beginning)) {
            return text.substr(beginning.size()) + " was not expected";
        }
    }
    return text == "A subcommand is required" ? "no command was given" : text;
}

const CLI::App& CommandOf(const CLI::App& app, const std::vector<std::string>& arguments) {
    const CLI::App* const command = arguments.empty() ? nullptr : FindCommand(app, arguments.front());
    return command ? *command : app;
}

// The command among the arguments, if it has that option.
const CLI::App* CommandWith(const std::string& option, const CLI::App& app,
                            const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
        if (const CLI::App* const command = FindCommand(app, argument)) {
            const std::vector<std::wstring> known = KnownOptions(*command);
            return std::find(known.begin(), known.end(), WideFromUtf8(option)) == known.end() ? nullptr
                                                                                              : command;
        }
    }
    return nullptr;
}

} // namespace

void TurnHelpAround(std::vector<std::string>& arguments) {
    if (!arguments.empty() && arguments.front() == "help") {
        arguments.erase(arguments.begin());
        if (arguments.size() > 1) {
            throw Failure('"' + arguments[1] + "\" was not expected: help takes one command",
                          ExitCode::Usage);
        }
        arguments.emplace_back("--help");
    }
}

void RequireCommand(const CLI::App& app, const std::vector<std::string>& arguments) {
    if (arguments.empty()) {
        throw Failure("no command was given; \"zqsettings help\" lists them", ExitCode::Usage);
    }
    const std::string& name = arguments.front();
    if (name.starts_with('-') || FindCommand(app, name)) {
        return;
    }
    const std::string nearest = Nearest(name, KnownCommands(app));
    throw Failure("there is no command \"" + name + '"' +
                      (nearest.empty() ? "; \"zqsettings help\" lists them" : nearest),
                  ExitCode::Usage);
}

std::string HelpOrVersion(const CLI::App& app, const CLI::ParseError& request) {
    return dynamic_cast<const CLI::CallForVersion*>(&request) ? std::string(request.what()) + '\n'
                                                              : app.help();
}

std::string UsageText(const CLI::App& app, const std::string& error,
                      const std::vector<std::string>& arguments) {
    const CLI::App& command = CommandOf(app, arguments);
    const std::string seeHelp =
        "; see \"zqsettings help" + (&command == &app ? "" : ' ' + command.get_name()) + '"';
    for (const std::string& argument : arguments) {
        const std::string name = argument.substr(0, argument.find('='));
        const std::vector<std::wstring> known = KnownOptions(command);
        if (name.starts_with("--") && name.size() > 2 &&
            std::find(known.begin(), known.end(), WideFromUtf8(name)) == known.end()) {
            if (const CLI::App* const owner =
                    &command == &app ? CommandWith(name, app, arguments) : nullptr) {
                return name + " is an option of " + owner->get_name() + ": write it after the command";
            }
            const std::string nearest = Nearest(name, known);
            return "there is no option " + name + (nearest.empty() ? seeHelp : nearest);
        }
    }
    return PlainText(error) + seeHelp;
}

} // namespace zq::tool
