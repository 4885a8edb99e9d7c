// What the module finds out about this machine, run without the module.
#pragma once

#include "sysinfo/WmiSurvey.h"

#include <map>
#include <string>
#include <vector>

namespace zq::tool {

// Empty for what was not found; the first three in UTF-8.
struct SurveyResult {
    std::string machineType;
    std::string networkSpeed;
    std::string networkDriver;
    std::map<std::wstring, std::wstring> variables; // that the module sets
    std::vector<WmiQueryReport> queries;
};

// Takes as long as WMI does. Any thread.
SurveyResult RunSurvey();

double MillisecondsOf(const WmiQueryReport& report);

} // namespace zq::tool
