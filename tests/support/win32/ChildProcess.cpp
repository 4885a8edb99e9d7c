#include "support/win32/ChildProcess.h"

#include "support/win32/Folders.h"

#include <stdexcept>

namespace zq::test {

namespace {

constexpr DWORD kProcessCapMilliseconds = 120'000;

} // namespace

PROCESS_INFORMATION StartProcess(const wchar_t* program, const std::wstring& line, STARTUPINFOW& startup,
                                 DWORD flags) {
    constexpr int kMostTries = 2;
    const BOOL isInherited = (startup.dwFlags & STARTF_USESTDHANDLES) != 0 ? TRUE : FALSE;
    DWORD error = ERROR_INTERNAL_ERROR;
    for (int i = 0; i < kMostTries && error == ERROR_INTERNAL_ERROR; ++i) {
        std::wstring writable = line;
        PROCESS_INFORMATION process{};
        if (CreateProcessW(program, writable.data(), nullptr, nullptr, isInherited, flags, nullptr, nullptr,
                           &startup, &process)) {
            return process;
        }
        error = GetLastError();
    }
    throw std::runtime_error("a program does not start: Windows error " + std::to_string(error));
}

ChildProcess::ChildProcess(const std::wstring& commandLine) {
    std::wstring command = L"\"" + ProgramFolder().wstring() + L"\\" + commandLine;
    const size_t nameEnd = command.find(L".exe");
    command.insert(nameEnd + 4, L"\"");
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    m_process = StartProcess(nullptr, command, startup);
}

ChildProcess::~ChildProcess() {
    ExitCode();
    CloseHandle(m_process.hThread);
    CloseHandle(m_process.hProcess);
}

DWORD ChildProcess::ExitCode() {
    if (WaitForSingleObject(m_process.hProcess, kProcessCapMilliseconds) != WAIT_OBJECT_0) {
        TerminateProcess(m_process.hProcess, 99);
    }
    DWORD code = 0;
    GetExitCodeProcess(m_process.hProcess, &code);
    return code;
}

void ChildProcess::KillAfter(DWORD milliseconds) {
    if (WaitForSingleObject(m_process.hProcess, milliseconds) != WAIT_OBJECT_0) {
        TerminateProcess(m_process.hProcess, 98);
        WaitForSingleObject(m_process.hProcess, kProcessCapMilliseconds);
    }
}

} // namespace zq::test
