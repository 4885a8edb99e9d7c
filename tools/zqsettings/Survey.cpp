#include "Survey.h"

#include "Text.h"

#include "base/HostLog.h"

#include <chrono>

#include <windows.h>

namespace zq::tool {

namespace {

// The survey keeps these in the ANSI code page.
std::string Utf8FromAnsi(const std::string& text) {
    const int bytes = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');
    const int units =
        MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, wide.data(), static_cast<int>(wide.size()));
    return Utf8FromWide(std::wstring_view(wide).substr(0, static_cast<size_t>(units)));
}

} // namespace

SurveyResult RunSurvey() {
    SurveyResult result;
    MachineSurvey machine;
    WmiServiceExectue(
        HostLog(), [&](const wchar_t* name, const std::wstring& value) { result.variables[name] = value; },
        machine, [&](const WmiQueryReport& report) { result.queries.push_back(report); });
    result.machineType = Utf8FromAnsi(machine.machineType);
    result.networkSpeed = Utf8FromAnsi(machine.networkSpeed);
    result.networkDriver = Utf8FromAnsi(machine.networkDriverVersion);
    return result;
}

double MillisecondsOf(const WmiQueryReport& report) {
    return std::chrono::duration<double, std::milli>(report.elapsed).count();
}

} // namespace zq::tool
