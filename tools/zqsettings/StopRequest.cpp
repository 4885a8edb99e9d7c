#include "StopRequest.h"

#include <array>
#include <atomic>

#include <windows.h>

namespace zq::tool {

namespace {

std::atomic<DWORD> g_control{CTRL_C_EVENT};

// Lives as long as the program: the system calls the handler on a thread of its own, whenever it likes.
HANDLE StopEvent() {
    static const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    return event;
}

BOOL WINAPI OnConsoleControl(DWORD control) {
    g_control = control;
    SetEvent(StopEvent());
    return TRUE;
}

} // namespace

StopRequest::StopRequest() {
    ResetEvent(StopEvent());
    SetConsoleCtrlHandler(OnConsoleControl, TRUE);
}

StopRequest::~StopRequest() { SetConsoleCtrlHandler(OnConsoleControl, FALSE); }

bool StopRequest::Wait(void* other, unsigned milliseconds) const {
    const std::array<HANDLE, 2> handles = {StopEvent(), other};
    return WaitForMultipleObjects(other ? 2 : 1, handles.data(), FALSE, milliseconds) == WAIT_OBJECT_0;
}

std::string StopRequest::Reason() {
    const DWORD control = g_control;
    return control == CTRL_C_EVENT || control == CTRL_BREAK_EVENT ? "Ctrl+C" : "closed";
}

} // namespace zq::tool
