#include "VariableFilter.h"

#include "Text.h"
#include "VariableText.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace zq::tool {

namespace {

// Replaces the name of a type by its code, which is what the option's enumeration is read from.
std::string TransformTypeName(std::string& name) {
    const auto found = VariableTypeNames().find(CLI::detail::to_lower(name));
    if (found == VariableTypeNames().end()) {
        return "\"" + name + "\" is no type (bool, integer, double, string, binary)";
    }
    name = std::to_string(found->second);
    return {};
}

} // namespace

bool VariableFilter::Accepts(const Variable& variable) const {
    const bool isType =
        types.empty() || std::find(types.begin(), types.end(), variable.Type()) != types.end();
    return isType && variable.name.starts_with(WideFromUtf8(prefix));
}

std::vector<Variable> VariableFilter::Apply(std::vector<Variable> variables) const {
    std::erase_if(variables, [this](const Variable& variable) { return !Accepts(variable); });
    return variables;
}

void AddFilterOptions(CLI::App& command, VariableFilter& filter) {
    command
        .add_option("--prefix", filter.prefix,
                    "Only variables whose names begin so, as in CL.MERIN5.\n(letter case counts)")
        ->type_name("TEXT");
    command
        .add_option("--type", filter.types,
                    "Only variables of these types, separated by commas:\n"
                    "bool, integer, double, string, binary")
        ->type_name("TYPE")
        ->delimiter(',')
        ->transform(CLI::Validator(TransformTypeName, ""));
}

} // namespace zq::tool
