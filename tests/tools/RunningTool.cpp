#include "tools/RunningTool.h"

#include <stdexcept>

namespace zq::test {

namespace {

constexpr int kTries = 1000;
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
    std::wstring line = L"zqsettings " + arguments;
    const BOOL isStarted = CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                          nullptr, &startup, &m_process);
    CloseHandle(startup.hStdOutput);
    if (!isStarted) {
        throw std::runtime_error("zqsettings.exe does not start");
    }
}

RunningTool::~RunningTool() {
    TerminateProcess(m_process.hProcess, 99);
    WaitForSingleObject(m_process.hProcess, INFINITE);
    CloseHandle(m_process.hProcess);
    CloseHandle(m_process.hThread);
}

// The program flushes each line; a file has no event for that.
bool RunningTool::WaitFor(const std::string& text) const {
    for (int i = 0; i < kTries; ++i) {
        if (Output().find(text) != std::string::npos) {
            return true;
        }
        WaitForSingleObject(m_process.hProcess, kPauseMilliseconds);
    }
    return false;
}

} // namespace zq::test
