// A second server on the same folders, which saves all the time.
//
//     file_saver HOSTPATH DEFAULTS COMMON EVENT NAME COUNT PAUSE
//
// EVENT  the name of an event that is set when DoInit is over and the saves begin
// NAME   the integer of the settings file that is set to 1001, 1002 and so on
// COUNT  how often; PAUSE milliseconds after each
#include "support/RecordingHost.h"
#include "support/win32/Module.h"

#include <cstdio>
#include <cstdlib>

namespace {

using namespace zq::test;

struct Saving {
    const wchar_t* name;
    int count;
    DWORD pause;
};

void Save(const Module& module, const Saving& saving) {
    for (int i = 1; i <= saving.count; ++i) {
        module->SaveConfigInt64(saving.name, 1000 + i, 0);
        Sleep(saving.pause);
    }
}

int ToInt(const wchar_t* text) { return static_cast<int>(std::wcstol(text, nullptr, 10)); }

} // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 8) {
        std::fprintf(stderr, "usage: file_saver HOSTPATH DEFAULTS COMMON EVENT NAME COUNT PAUSE\n");
        return 2;
    }
    RecordingHost host;
    Module module;
    module->DoInit(&host, argv[1], argv[2], argv[3]);
    const HANDLE started = OpenEventW(EVENT_MODIFY_STATE, FALSE, argv[4]);
    SetEvent(started);
    CloseHandle(started);
    Save(module, {argv[5], ToInt(argv[6]), static_cast<DWORD>(ToInt(argv[7]))});
    return 0;
}
