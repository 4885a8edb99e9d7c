#include "Command.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <iomanip>
#include <sstream>
#include <system_error>
#include <type_traits>

namespace zq::tool {

namespace {

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

// The parser's own conversion takes the largest number for one that is too large.
template <class Number>
std::string NumberFault(const std::string& text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc::result_out_of_range && stop == end) {
        return Quoted(text) + " is beyond what can be held";
    }
    const bool isNumber = error == std::errc() && stop == end;
    return isNumber                           ? ""
           : std::is_floating_point_v<Number> ? Quoted(text) + " is no number"
                                              : Quoted(text) + " is no whole number";
}

template <class Number>
CLI::Validator NumberCheck() {
    return {[](std::string& text) { return NumberFault<Number>(text); }, ""};
}

template <class Value>
Option AddTo(CLI::App& app, const char* names, Value& value, const char* type, const char* help) {
    return Option(app.add_option(names, value, help)->type_name(type));
}

template <class Number, class Value>
Option AddNumberTo(CLI::App& app, const char* names, Value& value, const char* type, const char* help) {
    return Option(app.add_option(names, value, help)->type_name(type)->check(NumberCheck<Number>()));
}

} // namespace

Option Option::Required() {
    m_option->required();
    return *this;
}

Option Option::NotEmpty() {
    m_option->check(CLI::Validator(
        [](std::string& text) { return text.empty() ? std::string("the value is empty") : std::string(); },
        ""));
    return *this;
}

Option Option::OneOf(const std::vector<std::string>& values) {
    std::string known;
    for (const std::string& value : values) {
        known += (known.empty() ? "" : ", ") + value;
    }
    m_option->check(CLI::Validator(
        [values, known](std::string& text) {
            const bool isKnown = std::find(values.begin(), values.end(), text) != values.end();
            return isKnown ? "" : Quoted(text) + " is none of " + known;
        },
        ""));
    return *this;
}

Option Option::SeparatedBy(char separator) {
    m_option->delimiter(separator);
    return *this;
}

Option Option::Within(double least, double most) {
    m_option->check(CLI::Validator(
        [least, most](std::string& text) {
            const double number = std::strtod(text.c_str(), nullptr);
            std::ostringstream range;
            range << std::fixed << std::setprecision(0) << least << " to " << most;
            return number >= least && number <= most ? "" : text + " is not within " + range.str();
        },
        ""));
    return *this;
}

Option Option::Transformed(const std::function<std::string(std::string&)>& transform) {
    m_option->transform(CLI::Validator(transform, ""));
    return *this;
}

Command::Command(CLI::App& parent, const char* name, const char* summary)
    : m_app(parent.add_subcommand(name, summary)) {}

Option Command::AddFlag(const char* names, bool& value, const char* help) {
    return Option(m_app->add_flag(names, value, help));
}

Option Command::Add(const char* names, std::string& value, const char* type, const char* help) {
    return AddTo(*m_app, names, value, type, help);
}

Option Command::Add(const char* names, std::vector<std::string>& values, const char* type, const char* help) {
    return AddTo(*m_app, names, values, type, help);
}

Option Command::Add(const char* names, double& value, const char* type, const char* help) {
    return AddNumberTo<double>(*m_app, names, value, type, help);
}

Option Command::Add(const char* names, int32_t& value, const char* type, const char* help) {
    return AddNumberTo<int32_t>(*m_app, names, value, type, help);
}

Option Command::Add(const char* names, std::vector<int64_t>& values, const char* type, const char* help) {
    return AddNumberTo<int64_t>(*m_app, names, values, type, help);
}

void Command::AddColour(std::string& choice) {
    Add("--color", choice, "WHEN", "auto, always or never").OneOf({"auto", "always", "never"});
}

void Command::Run(const std::function<void()>& run) { m_app->callback(run); }

} // namespace zq::tool
