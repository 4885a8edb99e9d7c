#include "VariableFilter.h"

#include "NamePattern.h"
#include "Text.h"
#include "VariableText.h"

#include <algorithm>
#include <cctype>

namespace zq::tool {

namespace {

// In any letter case.
std::string TransformTypeName(std::string& name) {
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    if (!VariableTypeNames().contains(lower)) {
        return "\"" + name + "\" is no type (bool, integer, double, string, binary)";
    }
    name = lower;
    return {};
}

} // namespace

bool VariableFilter::Accepts(const Variable& variable) const {
    const bool isType = types.empty() || std::find(types.begin(), types.end(),
                                                   VariableTypeName(variable.Type())) != types.end();
    return isType && variable.name.starts_with(WideFromUtf8(prefix)) &&
           (names.empty() || MatchesAny(variable.name, names));
}

std::vector<Variable> VariableFilter::Apply(std::vector<Variable> variables) const {
    std::erase_if(variables, [this](const Variable& variable) { return !Accepts(variable); });
    return variables;
}

void AddFilterOptions(Command command, VariableFilter& filter) {
    command.Add("--prefix", filter.prefix, "TEXT",
                "Only variables whose names begin so, as in CL.MERIN5.\n(letter case counts)");
    AddTypeOption(command, filter,
                  "Only variables of these types, separated by commas:\n"
                  "bool, integer, double, string, binary");
}

void AddTypeOption(Command command, VariableFilter& filter, const char* help) {
    command.Add("--type", filter.types, "TYPE", help).SeparatedBy(',').Transformed(TransformTypeName);
}

Option AddNames(Command command, VariableFilter& filter) {
    return command
        .Add("NAME", filter.names, "",
             "Names of variables, with * for any characters and ? for one, as\n"
             "in 'CL.*.Bitrate'; letter case counts")
        .NotEmpty();
}

} // namespace zq::tool
