// Runs zqsettings as a user does, and keeps what it prints.
#pragma once

#include <string>

namespace zq::test {

struct ToolRun {
    unsigned exitCode;
    std::string output;
    std::string errors;
};

// `arguments` as they would be typed after the program's name. The release starts zqsettings.exe. The other
// builds call the command inside the test program, without the start of a process, which costs more than most
// commands under Wine; no other thread may print meanwhile.
ToolRun RunTool(const std::wstring& arguments);

// Starts zqsettings.exe in every build.
ToolRun RunProgram(const std::wstring& arguments);

} // namespace zq::test
