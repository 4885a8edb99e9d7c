// Runs a command of zqsettings inside the test program: the same code as zqsettings.exe from its arguments to
// its exit code, without the start of a process, which costs more than most commands under Wine.
#pragma once

#include "tools/RunTool.h"

namespace zq::test {

// As RunTool. No other thread may print meanwhile.
ToolRun RunCommand(const std::wstring& arguments);

// With a file of the C library as its output, of which the result has nothing.
ToolRun RunCommandInto(int output, const std::wstring& arguments);

} // namespace zq::test
