#include "Commands.h"

#include "Console.h"
#include "Failure.h"
#include "FolderLook.h"
#include "JsonOutput.h"
#include "Text.h"
#include "VariableDifference.h"
#include "VariableFilter.h"

#include <memory>

namespace zq::tool {

namespace {

struct DiffOptions {
    ModuleOptions module;
    VariableFilter filter;
    bool isJson = false;
    bool isExitCode = false;
};

std::string DifferencesJson(const std::vector<VariableChange>& changes) {
    return JsonDocument([&](JsonWriter& writer) {
        writer.StartArray();
        for (const VariableChange& change : changes) {
            WriteChange(writer, change, "default", "value");
        }
        writer.EndArray();
    });
}

std::string DifferencesText(const std::vector<VariableChange>& changes) {
    std::string text;
    for (const VariableChange& change : changes) {
        text += ChangeText(change) + "\n";
    }
    return text + std::to_string(changes.size()) +
           (changes.size() == 1 ? " variable differs from the defaults\n"
                                : " variables differ from the defaults\n");
}

void Diff(const DiffOptions& options) {
    const std::filesystem::path folder = RequireDataFolder(options.module.data);
    const std::vector<Variable> before = options.filter.Apply(LookAt(options.module, std::nullopt));
    const std::vector<Variable> after = options.filter.Apply(LookAt(options.module, folder));
    const std::vector<VariableChange> changes = Difference(before, after);
    Print(options.isJson ? DifferencesJson(changes) : DifferencesText(changes));
    if (options.isExitCode && !changes.empty()) {
        throw Ended{ExitCode::No};
    }
}

} // namespace

void AddDiffCommand(CLI::App& app) {
    const auto options = std::make_shared<DiffOptions>();
    Command command(app, "diff", "Print the variables by which a data folder differs from the defaults");
    AddModuleOptions(command, options->module, "");
    AddNames(command, options->filter);
    AddFilterOptions(command, options->filter);
    command.AddFlag("--exit-code", options->isExitCode, "Exit code 1 where there are differences");
    command.AddFlag("--json", options->isJson, "Print them as JSON");
    command.Run([options] { Diff(*options); });
}

} // namespace zq::tool
