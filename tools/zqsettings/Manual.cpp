#include "Manual.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <vector>

namespace zq::tool {

namespace {

// Commands whose arguments are names of variables.
constexpr const char* kNamingCommands[] = {"describe", "diff", "explain", "get", "list", "set", "watch"};

std::vector<const CLI::App*> CommandsOf(const CLI::App& app) { return app.get_subcommands({}); }

std::vector<std::string> OptionsOf(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

std::string Joined(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : separator) + word;
    }
    return text;
}

std::vector<std::string> CommandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : CommandsOf(app)) {
        names.push_back(command->get_name());
    }
    return names;
}

// A line break of a help text is a blank here.
std::string OneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

// For the typesetter: backslashes and hyphens are themselves, and no line begins with a request.
std::string Roff(const std::string& text) {
    std::string escaped;
    for (const char c : OneLine(text)) {
        if (c == '\\') {
            escaped += "\\e";
        } else if (c == '-') {
            escaped += "\\-";
        } else {
            escaped += c;
        }
    }
    return escaped.starts_with('.') || escaped.starts_with('\'') ? "\\&" + escaped : escaped;
}

std::string ManPageOf(const CLI::Option& option) {
    const bool isPositional = option.get_positional();
    std::string name = isPositional ? option.get_name(true) : option.get_name(false, true);
    std::replace(name.begin(), name.end(), ',', ' ');
    const bool hasValue = !isPositional && option.get_type_size() > 0 && !option.get_type_name().empty();
    return ".TP\n\\fB" + Roff(name) + "\\fR" +
           (hasValue ? " \\fI" + Roff(option.get_type_name()) + "\\fR" : "") + "\n" +
           Roff(option.get_description()) + "\n";
}

std::string ManPageOf(const CLI::App& command) {
    std::string synopsis = ".SS zqsettings " + command.get_name();
    std::string options;
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_positional()) {
            const bool isMany = option->get_items_expected_max() > 1;
            const std::string name = option->get_name(true) + (isMany ? "..." : "");
            synopsis += ' ' + (option->get_required() ? name : '[' + name + ']');
        }
        options += ManPageOf(*option);
    }
    return Roff("") + synopsis + " [options]\n" + Roff(command.get_description()) + ".\n" + options;
}

} // namespace

std::string ManPage(const CLI::App& app) {
    std::string text = ".TH ZQSETTINGS 1\n.SH NAME\nzqsettings \\- " + Roff(app.get_description()) +
                       "\n.SH SYNOPSIS\n.B zqsettings\n\\fICOMMAND\\fR [options] [arguments]\n.SH COMMANDS\n";
    for (const CLI::App* command : CommandsOf(app)) {
        text += ManPageOf(*command);
    }
    text += ".SH EXIT STATUS\n"
            ".TP\n0\nDone, or the answer is yes.\n"
            ".TP\n1\nThe answer is no: a file is refused, a name unknown, a value not acceptable.\n"
            ".TP\n2\nIt could not look or act.\n"
            ".TP\n3\nThe command line cannot be understood.\n"
            ".SH ENVIRONMENT\n"
            ".TP\nZQ_DATA_DIR\nThe data folder where \\-\\-data is not given.\n"
            ".TP\nNO_COLOR\nNo colours, unless \\-\\-color always asks for them.\n";
    return text;
}

std::string BashCompletion(const CLI::App& app) {
    std::string text = "# Completion of zqsettings for bash: source this file.\n"
                       "_zqsettings() {\n"
                       "  local current=${COMP_WORDS[COMP_CWORD]} command= options= word\n"
                       "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
                       "    [[ $word == -* ]] || { command=$word; break; }\n"
                       "  done\n"
                       "  case $command in\n"
                       "    '') COMPREPLY=($(compgen -W '" +
                       Joined(CommandNames(app), " ") +
                       " help --help --version' -- \"$current\")); return ;;\n"
                       "    help) COMPREPLY=($(compgen -W '" +
                       Joined(CommandNames(app), " ") + "' -- \"$current\")); return ;;\n";
    for (const CLI::App* command : CommandsOf(app)) {
        text += "    " + command->get_name() + ") options='" + Joined(OptionsOf(*command), " ") + "' ;;\n";
    }
    const std::vector<std::string> naming(std::begin(kNamingCommands), std::end(kNamingCommands));
    return text +
           "  esac\n"
           "  if [[ $current == -* ]]; then\n"
           "    COMPREPLY=($(compgen -W \"$options\" -- \"$current\"))\n"
           "    return\n"
           "  fi\n"
           "  case $command in\n    " +
           Joined(naming, "|") +
           ")\n"
           "      COMPREPLY=($(compgen -W \"$(\"${COMP_WORDS[0]}\" list 2>/dev/null | sed '1d;$d;s/ .*//')\" "
           "-- "
           "\"$current\")) ;;\n"
           "  esac\n"
           "}\n"
           "complete -o default -F _zqsettings zqsettings zqsettings.exe\n";
}

std::string PowerShellCompletion(const CLI::App& app) {
    std::string text =
        "# Completion of zqsettings for PowerShell: dot-source this file in your profile.\n"
        "Register-ArgumentCompleter -Native -CommandName zqsettings, zqsettings.exe -ScriptBlock {\n"
        "    param($word, $ast, $cursor)\n"
        "    $options = @{\n";
    for (const CLI::App* command : CommandsOf(app)) {
        text += "        '" + command->get_name() + "' = '" + Joined(OptionsOf(*command), "', '") + "'\n";
    }
    return text +
           "    }\n"
           "    $words = @($ast.CommandElements | Select-Object -Skip 1 | ForEach-Object { $_.ToString() })\n"
           "    $command = $words | Where-Object { $options.ContainsKey($_) } | Select-Object -First 1\n"
           "    $known = if ($command -and $command -ne $word) { $options[$command] } else "
           "{ @($options.Keys | Sort-Object) + 'help', '--help', '--version' }\n"
           "    $known | Where-Object { $_ -like \"$word*\" } | ForEach-Object {\n"
           "        [System.Management.Automation.CompletionResult]::new($_, $_, 'ParameterValue', $_)\n"
           "    }\n"
           "}\n";
}

} // namespace zq::tool
