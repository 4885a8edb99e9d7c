#include "Command.h"

#include <CLI/CLI.hpp>

namespace zq::tool {

namespace {

template <class Value>
Option AddTo(CLI::App& app, const char* names, Value& value, const char* type, const char* help) {
    return Option(app.add_option(names, value, help)->type_name(type));
}

} // namespace

Option Option::Required() {
    m_option->required();
    return *this;
}

Option Option::OneOf(const std::vector<std::string>& values) {
    m_option->check(CLI::IsMember(values));
    return *this;
}

Option Option::SeparatedBy(char separator) {
    m_option->delimiter(separator);
    return *this;
}

Option Option::NotNegative() {
    m_option->check(CLI::NonNegativeNumber);
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
    return AddTo(*m_app, names, value, type, help);
}

Option Command::Add(const char* names, int32_t& value, const char* type, const char* help) {
    return AddTo(*m_app, names, value, type, help);
}

Option Command::Add(const char* names, std::vector<int64_t>& values, const char* type, const char* help) {
    return AddTo(*m_app, names, values, type, help);
}

void Command::Describe(const char* name, const char* help) { m_app->get_option(name)->description(help); }

void Command::Run(const std::function<void()>& run) { m_app->callback(run); }

} // namespace zq::tool
