#include "support/win32/UnixCommand.h"

#include "support/win32/Folders.h"
#include "support/win32/Waiting.h"

#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include <windows.h>

namespace zq::test {

namespace {

namespace fs = std::filesystem;

using GetUnixFileName = char*(__cdecl*)(LPCWSTR);

GetUnixFileName FindGetUnixFileName() {
    return reinterpret_cast<GetUnixFileName>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
}

} // namespace

bool HasUnixCommands() { return FindGetUnixFileName() != nullptr; }

std::string UnixPath(const fs::path& path) {
    // Of the folder: the file itself may be missing, or a link that must not be followed.
    char* const folder = FindGetUnixFileName()(path.parent_path().c_str());
    if (!folder) {
        throw std::runtime_error("no Unix path for " + path.string());
    }
    std::ostringstream result;
    result << '\'' << folder << '/' << path.filename().string() << '\'';
    HeapFree(GetProcessHeap(), 0, folder);
    return result.str();
}

int RunUnix(const fs::path& folder, const std::string& command) {
    // Wine starts such a process but gives no handle to wait for: its end is seen by a file outside of what
    // the command works on.
    const TempFolder scratch;
    const fs::path script = scratch.Path() / L"script";
    const fs::path ended = scratch.Path() / L"ended";
    const std::string code = UnixPath(scratch.Path() / L"code");
    std::ostringstream text;
    text << "cd " << UnixPath(folder) << "\n{ " << command << "\n} </dev/null >/dev/null 2>&1\necho $? >"
         << code << "\nmv " << code << " " << UnixPath(ended) << "\n";
    WriteBytes(script, text.str());
    std::string unquoted = UnixPath(script);
    unquoted = unquoted.substr(1, unquoted.size() - 2);
    std::wstring line = L"sh " + std::wstring(unquoted.begin(), unquoted.end());
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(L"\\\\?\\unix\\bin\\sh", line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
        throw std::runtime_error("cannot start a shell: Windows error " + std::to_string(GetLastError()));
    }
    if (process.hProcess) {
        CloseHandle(process.hProcess);
        CloseHandle(process.hThread);
    }
    if (!WaitFor([&] { return fs::exists(ended); })) {
        return -1;
    }
    return std::atoi(ReadBytes(ended).c_str());
}

void MakeLink(const fs::path& target, const fs::path& link) {
    if (RunUnix(link.parent_path(), "ln -s " + UnixPath(target) + " " + UnixPath(link)) != 0) {
        throw std::runtime_error("cannot make the link " + link.string());
    }
}

} // namespace zq::test
