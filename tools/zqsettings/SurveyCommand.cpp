#include "Commands.h"

#include "Command.h"
#include "Console.h"
#include "JsonOutput.h"
#include "Survey.h"
#include "Text.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace zq::tool {

namespace {

std::string Milliseconds(double value) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f", value);
    return text;
}

std::string OrNothing(const std::string& text) { return text.empty() ? "(not found)" : text; }

std::string ResultText(const WmiQueryReport& report) {
    if (report.result < 0) {
        char text[32];
        std::snprintf(text, sizeof(text), "failed: 0x%08X", static_cast<unsigned>(report.result));
        return text;
    }
    return std::to_string(report.objects) + (report.objects == 1 ? " object" : " objects");
}

constexpr size_t kTimeWidth = 14;
constexpr size_t kResultWidth = 20;

std::string TextOf(const SurveyResult& result) {
    std::string text = "Machine type: " + OrNothing(result.machineType);
    text += "\nNetwork speed: " + OrNothing(result.networkSpeed);
    text += "\nNetwork driver: " + OrNothing(result.networkDriver) + "\n";
    for (const auto& [name, value] : result.variables) {
        text += Printable(name) + ": " + OrNothing(Printable(value)) + "\n";
    }
    text += "\n  MILLISECONDS  RESULT              QUERY\n";
    for (const WmiQueryReport& report : result.queries) {
        const std::string time = Milliseconds(MillisecondsOf(report));
        const std::string answer = ResultText(report);
        text += std::string(kTimeWidth - std::min(time.size(), kTimeWidth), ' ');
        text += time;
        text += "  ";
        text += answer;
        text += std::string(kResultWidth - std::min(answer.size(), kResultWidth), ' ');
        text += Utf8FromWide(report.query);
        text += '\n';
    }
    return text;
}

std::string JsonTextOf(const SurveyResult& result) {
    return JsonDocument([&](JsonWriter& writer) {
        writer.StartObject();
        WriteMember(writer, "machineType", result.machineType);
        WriteMember(writer, "networkSpeed", result.networkSpeed);
        WriteMember(writer, "networkDriverVersion", result.networkDriver);
        writer.Key("variables");
        writer.StartObject();
        for (const auto& [name, value] : result.variables) {
            WriteMember(writer, Utf8FromWide(name).c_str(), Utf8FromWide(value));
        }
        writer.EndObject();
        writer.Key("queries");
        writer.StartArray();
        for (const WmiQueryReport& report : result.queries) {
            writer.StartObject();
            WriteMember(writer, "query", Utf8FromWide(report.query));
            WriteMember(writer, "result", int64_t{report.result});
            WriteMember(writer, "objects", static_cast<int64_t>(report.objects));
            writer.Key("milliseconds");
            writer.Double(MillisecondsOf(report));
            writer.EndObject();
        }
        writer.EndArray();
        writer.EndObject();
    });
}

} // namespace

void AddSurveyCommand(CLI::App& app) {
    const auto isJson = std::make_shared<bool>(false);
    Command command(app, "survey",
                    "Print what the module finds out about this machine, and the time that\neach query took");
    command.AddFlag("--json", *isJson, "Print it as JSON");
    command.Run([isJson] {
        const SurveyResult result = RunSurvey();
        Print(*isJson ? JsonTextOf(result) : TextOf(result));
    });
}

} // namespace zq::tool
