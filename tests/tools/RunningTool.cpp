#include "tools/RunningTool.h"

#include "support/win32/ChildProcess.h"
#include "support/win32/UnixCommand.h"

namespace zq::test {

namespace {

constexpr DWORD kEndMilliseconds = 20000;
constexpr DWORD kPauseMilliseconds = 20;

} // namespace

RunningTool::RunningTool(const std::wstring& arguments) {
    SECURITY_ATTRIBUTES security = {sizeof(security), nullptr, TRUE};
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput =
        CreateFileW((m_folder.Path() / L"output").c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                    &security, CREATE_ALWAYS, 0, nullptr);
    startup.hStdError = startup.hStdOutput;
    const std::filesystem::path program = ProgramFolder() / L"zqsettings.exe";
    // A group of its own can be sent Ctrl+Break, which does not reach the tests then; it takes no Ctrl+C.
    const DWORD flags = HasUnixCommands() ? 0 : CREATE_NEW_PROCESS_GROUP;
    m_process = StartProcess(program.c_str(), L"zqsettings " + arguments, startup, flags);
    CloseHandle(startup.hStdOutput);
}

RunningTool::~RunningTool() {
    TerminateProcess(m_process.hProcess, 99);
    WaitForSingleObject(m_process.hProcess, INFINITE);
    CloseHandle(m_process.hProcess);
    CloseHandle(m_process.hThread);
}

// Wine has no console to send Ctrl+C from where there is no terminal; its processes take the system's signal
// for it.
void RunningTool::Interrupt(const std::string& mark) const {
    if (!HasUnixCommands()) {
        GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, m_process.dwProcessId);
        return;
    }
    const std::string others = mark.substr(1); // so that it does not find the search itself
    RunUnix(m_folder.Path(), "for process in /proc/[0-9]*; do grep -aqs '[" + mark.substr(0, 1) + "]" +
                                 others + "' $process/cmdline && kill -INT ${process#/proc/}; done");
}

DWORD RunningTool::ExitCode() const {
    WaitForSingleObject(m_process.hProcess, kEndMilliseconds);
    DWORD code = 0;
    GetExitCodeProcess(m_process.hProcess, &code);
    return code;
}

// The program flushes each line; a file has no event for that.
bool RunningTool::WaitFor(const std::string& text, DWORD milliseconds) const {
    for (DWORD waited = 0; waited < milliseconds; waited += kPauseMilliseconds) {
        if (Output().find(text) != std::string::npos) {
            return true;
        }
        WaitForSingleObject(m_process.hProcess, kPauseMilliseconds);
    }
    return false;
}

} // namespace zq::test
