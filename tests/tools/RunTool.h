// Runs zqsettings.exe as a user does, and keeps what it prints.
#pragma once

#include <string>

namespace zq::test {

struct ToolRun {
    unsigned exitCode;
    std::string output;
    std::string errors;
};

// `arguments` as they would be typed behind the program's name.
ToolRun RunTool(const std::wstring& arguments);

} // namespace zq::test
