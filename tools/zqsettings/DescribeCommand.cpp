#include "Commands.h"

#include "Console.h"
#include "Failure.h"
#include "FolderLook.h"
#include "JsonOutput.h"
#include "KeyText.h"
#include "NameLookup.h"
#include "NamePattern.h"
#include "Text.h"
#include "VariableFilter.h"

#include <algorithm>
#include <memory>

namespace zq::tool {

namespace {

struct DescribeOptions {
    ModuleOptions module;
    VariableFilter filter;
    bool isJson = false;
};

// Names that the schemas describe need not be set anywhere; for patterns and mistyped names the variables are
// looked at.
std::vector<std::wstring> NamesOf(const DescribeOptions& options) {
    const auto isDescribed = [](const std::string& name) {
        return !IsPattern(name) && DescribeKey(WideFromUtf8(name)).has_value();
    };
    std::vector<std::wstring> names;
    if (std::all_of(options.filter.names.begin(), options.filter.names.end(), isDescribed)) {
        for (const std::string& name : options.filter.names) {
            names.push_back(WideFromUtf8(name));
        }
        return names;
    }
    const std::vector<Variable> all = LookAt(options.module, FindDataFolderOrDefaults(options.module.data));
    RequireKnown(options.filter, all);
    for (const Variable& variable : options.filter.Apply(all)) {
        if (names.empty() || names.back() != variable.name) {
            names.push_back(variable.name);
        }
    }
    return names;
}

void Describe(const DescribeOptions& options) {
    const std::vector<std::wstring> names = NamesOf(options);
    std::string text;
    bool isAnyDescribed = false;
    for (const std::wstring& name : names) {
        const std::optional<KeyDescription> description = DescribeKey(name);
        isAnyDescribed = isAnyDescribed || description;
        text += description ? DescriptionText(name, *description)
                            : Printable(name) + "\n  not described: a setting of this server's own\n";
    }
    Print(options.isJson ? DescriptionsJson(names) : text);
    if (!isAnyDescribed) {
        throw Ended{ExitCode::No};
    }
}

} // namespace

void AddDescribeCommand(CLI::App& app) {
    const auto options = std::make_shared<DescribeOptions>();
    Command command(app, "describe",
                    "Print what a variable is: its meaning, type, range, unit and default;\n"
                    "exit code 1 where none of them is described");
    AddModuleOptions(command, options->module);
    AddNames(command, options->filter).Required();
    command.AddFlag("--json", options->isJson, "Print it as JSON");
    command.Run([options] { Describe(*options); });
}

} // namespace zq::tool
