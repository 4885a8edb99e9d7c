// zqsettings.exe while it runs: what it has printed so far, and waiting for more.
#pragma once

#include "support/win32/Folders.h"

#include <string>

#include <windows.h>

namespace zq::test {

class RunningTool {
public:
    // `arguments` as they would be typed after the program's name.
    explicit RunningTool(const std::wstring& arguments);
    // Ends it, if it has not ended.
    ~RunningTool();
    RunningTool(const RunningTool&) = delete;
    RunningTool& operator=(const RunningTool&) = delete;

    // Waits until its output holds `text`, by default up to 20 seconds. Returns whether it came.
    bool WaitFor(const std::string& text, DWORD milliseconds = 20000) const;
    // As Ctrl+C in its console. `mark` is a part of its arguments that no other process has.
    void Interrupt(const std::string& mark) const;
    // Waits until it has ended, up to 20 seconds, and returns its exit code, STILL_ACTIVE where it goes on.
    DWORD ExitCode() const;
    std::string Output() const { return ReadBytes(m_folder.Path() / L"output"); }

private:
    TempFolder m_folder;
    PROCESS_INFORMATION m_process{};
};

} // namespace zq::test
