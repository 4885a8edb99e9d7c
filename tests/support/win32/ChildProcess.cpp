#include "support/win32/ChildProcess.h"

#include "support/win32/Folders.h"

#include <stdexcept>

namespace zq::test {

namespace {

constexpr DWORD kCapMilliseconds = 120'000;

} // namespace

ChildProcess::ChildProcess(const std::wstring& commandLine) {
    std::wstring command = L"\"" + ProgramFolder().wstring() + L"\\" + commandLine;
    const size_t nameEnd = command.find(L".exe");
    command.insert(nameEnd + 4, L"\"");
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &m_process)) {
        throw std::runtime_error("cannot start a second process: Windows error " +
                                 std::to_string(GetLastError()));
    }
}

ChildProcess::~ChildProcess() {
    ExitCode();
    CloseHandle(m_process.hThread);
    CloseHandle(m_process.hProcess);
}

DWORD ChildProcess::ExitCode() {
    if (WaitForSingleObject(m_process.hProcess, kCapMilliseconds) != WAIT_OBJECT_0) {
        TerminateProcess(m_process.hProcess, 99);
    }
    DWORD code = 0;
    GetExitCodeProcess(m_process.hProcess, &code);
    return code;
}

void ChildProcess::KillAfter(DWORD milliseconds) {
    if (WaitForSingleObject(m_process.hProcess, milliseconds) != WAIT_OBJECT_0) {
        TerminateProcess(m_process.hProcess, 98);
        WaitForSingleObject(m_process.hProcess, kCapMilliseconds);
    }
}

} // namespace zq::test
