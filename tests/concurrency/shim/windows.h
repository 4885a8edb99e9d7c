// As much of Windows as the store, the hosts and their threads use, for native builds under ThreadSanitizer.
//
// Each object orders only the threads that meet at it: a lock shared by all of them would hide what the
// sanitizer looks for. Nothing here is fast.
#pragma once

#include <cstddef>
#include <cstdint>

using BOOL = int;
using DWORD = uint32_t;
using LONG = int32_t;
using LONGLONG = int64_t;
using ULONGLONG = uint64_t;
using SIZE_T = size_t;
using HANDLE = void*;
using LPVOID = void*;

#define WINAPI
#define FALSE 0
#define TRUE 1
#define INFINITE 0xFFFFFFFFU
#define WAIT_OBJECT_0 0U
#define WAIT_TIMEOUT 258U
#define WAIT_FAILED 0xFFFFFFFFU
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(intptr_t{-1}))

struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};
union LARGE_INTEGER {
    LONGLONG QuadPart;
};

HANDLE CreateEventW(void* security, BOOL isManual, BOOL isSignalled, const wchar_t* name);
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);
HANDLE CreateMutexW(void* security, BOOL isOwned, const wchar_t* name);
BOOL ReleaseMutex(HANDLE mutex);
HANDLE CreateThread(void* security, SIZE_T stack, DWORD (*routine)(void*), void* argument, DWORD flags,
                    DWORD* id);
// Ends the process: no test needs to terminate a thread.
BOOL TerminateThread(HANDLE thread, DWORD code);
DWORD GetCurrentThreadId();
BOOL CloseHandle(HANDLE object);

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds);
// For any of them, without a time limit.
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL forAll, DWORD milliseconds);

DWORD GetLastError();
DWORD GetCurrentProcessId();
BOOL QueryPerformanceCounter(LARGE_INTEGER* counter);
void GetSystemTimeAsFileTime(FILETIME* time);
