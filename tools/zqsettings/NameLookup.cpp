#include "NameLookup.h"

#include "Failure.h"
#include "NamePattern.h"
#include "Text.h"
#include "VariableText.h"

#include "check/NearestName.h"

#include <algorithm>

namespace zq::tool {

namespace {

constexpr size_t kShownNames = 3;

std::string NearestText(const std::string& name, const std::vector<Variable>& variables) {
    std::vector<std::wstring> names;
    std::string types;
    for (const Variable& variable : variables) {
        if (variable.name == WideFromUtf8(name)) {
            types += (types.empty() ? "; it has the type " : " and ") + VariableTypeName(variable.Type());
        }
        if (names.empty() || names.back() != variable.name) {
            names.push_back(variable.name);
        }
    }
    if (!types.empty()) {
        return types;
    }
    std::string text;
    const std::vector<std::wstring> nearest = NearestNames(WideFromUtf8(name), names, kShownNames);
    for (const std::wstring& each : nearest) {
        text += (text.empty() ? "" : ", ") + Utf8FromWide(each);
    }
    return nearest.empty() ? "" : (nearest.size() == 1 ? "; the nearest is " : "; the nearest are ") + text;
}

std::string TypesText(const std::vector<std::string>& types) {
    std::string text;
    for (const std::string& type : types) {
        text += (text.empty() ? " of type " : " or ") + type;
    }
    return text;
}

} // namespace

void RequireKnown(const VariableFilter& filter, const std::vector<Variable>& variables) {
    for (const std::string& name : filter.names) {
        VariableFilter one = filter;
        one.names = {name};
        const bool isKnown = std::any_of(variables.begin(), variables.end(),
                                         [&](const Variable& variable) { return one.Accepts(variable); });
        if (isKnown) {
            continue;
        }
        if (IsPattern(name)) {
            throw Failure("no variable" + TypesText(filter.types) + " matches " + name, ExitCode::No);
        }
        throw Failure("there is no variable " + name + TypesText(filter.types) + NearestText(name, variables),
                      ExitCode::No);
    }
}

} // namespace zq::tool
