// A second process, whose program is in the folder of the test program.
#pragma once

#include <string>

#include <windows.h>

namespace zq::test {

// As CreateProcessW, with the standard handles of `startup` if it has any. The caller must close both
// handles. Wine 8 rarely loses a new process before it begins, and reports an internal error: the process is
// started once more then. Raises std::runtime_error.
PROCESS_INFORMATION StartProcess(const wchar_t* program, const std::wstring& line, STARTUPINFOW& startup,
                                 DWORD flags = 0);

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
