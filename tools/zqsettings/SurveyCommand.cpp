#include "Commands.h"

#include "Command.h"
#include "Console.h"
#include "JsonOutput.h"
#include "SilentHost.h"
#include "Text.h"

#include "base/HostLog.h"
#include "sysinfo/WmiSurvey.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <vector>

#include <windows.h>

namespace zq::tool {

namespace {

struct SurveyResult {
    MachineSurvey machine;
    std::map<std::wstring, std::wstring> variables;
    std::vector<WmiQueryReport> queries;
};

SurveyResult RunSurvey() {
    SurveyResult result;
    WmiServiceExectue(
        HostLog(), [&](const wchar_t* name, const std::wstring& value) { result.variables[name] = value; },
        result.machine, [&](const WmiQueryReport& report) { result.queries.push_back(report); });
    return result;
}

// The survey keeps these in the ANSI code page.
std::string Utf8FromAnsi(const std::string& text) {
    const int bytes = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');
    const int units =
        MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, wide.data(), static_cast<int>(wide.size()));
    return Utf8FromWide(std::wstring_view(wide).substr(0, static_cast<size_t>(units)));
}

double Milliseconds(const WmiQueryReport& report) {
    return std::chrono::duration<double, std::milli>(report.elapsed).count();
}

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
    std::string text = "Machine type: " + OrNothing(Utf8FromAnsi(result.machine.machineType));
    text += "\nNetwork speed: " + OrNothing(Utf8FromAnsi(result.machine.networkSpeed));
    text += "\nNetwork driver: " + OrNothing(Utf8FromAnsi(result.machine.networkDriverVersion)) + "\n";
    for (const auto& [name, value] : result.variables) {
        text += Printable(name) + ": " + OrNothing(Printable(value)) + "\n";
    }
    text += "\n  MILLISECONDS  RESULT              QUERY\n";
    for (const WmiQueryReport& report : result.queries) {
        const std::string time = Milliseconds(Milliseconds(report));
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
        WriteMember(writer, "machineType", Utf8FromAnsi(result.machine.machineType));
        WriteMember(writer, "networkSpeed", Utf8FromAnsi(result.machine.networkSpeed));
        WriteMember(writer, "networkDriverVersion", Utf8FromAnsi(result.machine.networkDriverVersion));
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
            writer.Double(Milliseconds(report));
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
