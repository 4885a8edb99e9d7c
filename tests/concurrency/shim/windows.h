// As much of Windows as the store, the hosts, the watcher, the saves and their threads use, for native builds
// under ThreadSanitizer.
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
using WORD = uint16_t;
using UINT = uint32_t;

inline char g_invalidHandle = 0; // an address that no object has

#define WINAPI
#define FALSE 0
#define TRUE 1
#define INFINITE 0xFFFFFFFFU
#define WAIT_OBJECT_0 0U
#define WAIT_TIMEOUT 258U
#define WAIT_FAILED 0xFFFFFFFFU
#define INVALID_HANDLE_VALUE (static_cast<HANDLE>(&g_invalidHandle))

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
// For any of them.
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL forAll, DWORD milliseconds);

DWORD GetLastError();
void Sleep(DWORD milliseconds);
ULONGLONG GetTickCount64();
DWORD GetCurrentProcessId();
BOOL QueryPerformanceCounter(LARGE_INTEGER* counter);
void GetSystemTimeAsFileTime(FILETIME* time);

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
void GetSystemTime(SYSTEMTIME* time);

// For ASCII only: each character is one byte.
inline constexpr UINT CP_THREAD_ACP = 3;
int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* wide, int length, char* bytes, int size,
                        const char* replacement, BOOL* isReplaced);

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;

struct OVERLAPPED {
    HANDLE hEvent;
};

struct FILE_NOTIFY_INFORMATION {
    DWORD NextEntryOffset;
    DWORD Action;
    DWORD FileNameLength; // in bytes
    wchar_t FileName[1];
};
inline constexpr DWORD FILE_ACTION_ADDED = 1;
inline constexpr DWORD FILE_ACTION_REMOVED = 2;
inline constexpr DWORD FILE_ACTION_MODIFIED = 3;
inline constexpr DWORD FILE_ACTION_RENAMED_OLD_NAME = 4;
inline constexpr DWORD FILE_ACTION_RENAMED_NEW_NAME = 5;
