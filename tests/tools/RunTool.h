// Runs zqsettings as a user does, and keeps what it prints.
#pragma once

#include <string>

namespace zq::test {

struct ToolRun {
    unsigned exitCode;
    std::string output;
    std::string errors;
};

// `arguments` as they would be typed after the program's name. Calls the command inside the test program,
// without the start of a process, which costs more than most commands under Wine; no other thread may print
// meanwhile. With ZQ_TEST_LONG in the environment, which scripts/soak.sh sets, it starts zqsettings.exe.
ToolRun RunTool(const std::wstring& arguments);

// Always starts zqsettings.exe.
ToolRun RunProgram(const std::wstring& arguments);

} // namespace zq::test
