#include "tools/RunTool.h"

#include "tools/RunCommand.h"

#include "support/win32/ChildProcess.h"
#include "support/win32/Folders.h"

#include <cstdlib>
#include <stdexcept>

#include <windows.h>

namespace zq::test {

namespace {

constexpr DWORD kRunCapMs = 60000;

HANDLE CreateInheritable(const std::filesystem::path& file) {
    SECURITY_ATTRIBUTES security = {sizeof(security), nullptr, TRUE};
    return CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &security, CREATE_ALWAYS, 0, nullptr);
}

} // namespace

ToolRun RunTool(const std::wstring& arguments) {
    return std::getenv("ZQ_TEST_LONG") ? RunProgram(arguments) : RunCommand(arguments);
}

ToolRun RunProgram(const std::wstring& arguments) {
    const TempFolder folder;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = CreateInheritable(folder.Path() / L"output");
    startup.hStdError = CreateInheritable(folder.Path() / L"errors");
    const std::filesystem::path program = ProgramFolder() / L"zqsettings.exe";
    const PROCESS_INFORMATION process = StartProcess(program.c_str(), L"zqsettings " + arguments, startup);

    const bool hasEnded = WaitForSingleObject(process.hProcess, kRunCapMs) == WAIT_OBJECT_0;
    if (!hasEnded) {
        TerminateProcess(process.hProcess, 99);
        WaitForSingleObject(process.hProcess, kRunCapMs);
    }
    DWORD exitCode = 0;
    GetExitCodeProcess(process.hProcess, &exitCode);
    for (const HANDLE handle : {process.hProcess, process.hThread, startup.hStdOutput, startup.hStdError}) {
        CloseHandle(handle);
    }
    if (!hasEnded) {
        throw std::runtime_error("this did not end: zqsettings " + std::filesystem::path(arguments).string() +
                                 "; it printed: " + ReadBytes(folder.Path() / L"output") +
                                 ReadBytes(folder.Path() / L"errors"));
    }
    return {exitCode, ReadBytes(folder.Path() / L"output"), ReadBytes(folder.Path() / L"errors")};
}

} // namespace zq::test
