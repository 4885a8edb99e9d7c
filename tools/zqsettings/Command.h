// One command's options and arguments, declared to the command-line parser.
//
// The parser's headers cost seconds in every source that includes them, so that only Command.cpp,
// CommandLine.cpp and the writers of manual and completions do.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace zq::tool {

// For --for: 46 days, as many milliseconds as a wait of the system takes.
inline constexpr double kLongestRunSeconds = 4'000'000;

class Option {
public:
    explicit Option(CLI::Option* option) : m_option(option) {}

    Option Required();
    // An empty text is a mistake: a variable of the shell that is not set.
    Option NotEmpty();
    Option OneOf(const std::vector<std::string>& values);
    Option SeparatedBy(char separator);
    // For a number; both ends are allowed.
    Option Within(double least, double most);
    // Makes of the text what the command wants; returns a sentence for a text that it refuses, else nothing.
    Option Transformed(const std::function<std::string(std::string&)>& transform);

private:
    CLI::Option* m_option;
};

// Variables that are handed in must outlive the parse. In `names`, options begin with hyphens ("-q,--quiet"),
// positional arguments do not; `type` is the word that help texts show for the value.
class Command {
public:
    // An existing one.
    Command(CLI::App& app) : m_app(&app) {}
    // A new one below `parent`.
    Command(CLI::App& parent, const char* name, const char* summary);

    Option AddFlag(const char* names, bool& value, const char* help);
    Option Add(const char* names, std::string& value, const char* type, const char* help);
    Option Add(const char* names, std::vector<std::string>& values, const char* type, const char* help);
    Option Add(const char* names, double& value, const char* type, const char* help);
    Option Add(const char* names, int32_t& value, const char* type, const char* help);
    Option Add(const char* names, std::vector<int64_t>& values, const char* type, const char* help);
    // --color, for WantsColour.
    void AddColour(std::string& choice);

    void Run(const std::function<void()>& run);

private:
    CLI::App* m_app;
};

} // namespace zq::tool
