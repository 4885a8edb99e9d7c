#include "StopRequest.h"

#include <windows.h>

namespace zq::tool {

namespace {

// Lives as long as the program: the system calls the handler on a thread of its own, whenever it likes.
HANDLE StopEvent() {
    static const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    return event;
}

BOOL WINAPI OnConsoleControl(DWORD) {
    SetEvent(StopEvent());
    return TRUE;
}

} // namespace

StopRequest::StopRequest() {
    ResetEvent(StopEvent());
    SetConsoleCtrlHandler(OnConsoleControl, TRUE);
}

StopRequest::~StopRequest() { SetConsoleCtrlHandler(OnConsoleControl, FALSE); }

void StopRequest::Wait(double seconds) const {
    WaitForSingleObject(StopEvent(), seconds > 0 ? static_cast<DWORD>(seconds * 1000) : INFINITE);
}

} // namespace zq::tool
