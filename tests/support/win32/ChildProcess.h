// A second process, whose program is in the folder of the test program.
#pragma once

#include <string>

#include <windows.h>

namespace zq::test {

class ChildProcess {
public:
    // `commandLine` starts with the program's name without its folder.
    explicit ChildProcess(const std::wstring& commandLine);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Waits for the end and returns the exit code; the process is terminated when it takes longer than two
    // minutes.
    DWORD ExitCode();

    // Terminates the process after so long, unless it has ended by then.
    void KillAfter(DWORD milliseconds);

private:
    PROCESS_INFORMATION m_process{};
};

} // namespace zq::test
