// The few Windows functions that these hosts call, declared by hand: there is no Windows header for the
// compiler that they are built with, and no run-time library below them.
#pragma once

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

extern "C" {
#define ZQ_WINAPI(Result) __declspec(dllimport) Result __stdcall
ZQ_WINAPI(void*) LoadLibraryW(const wchar_t* name);
ZQ_WINAPI(void*) GetProcAddress(void* library, const char* name);
ZQ_WINAPI(void*) GetStdHandle(uint32_t which);
ZQ_WINAPI(int) WriteFile(void* file, const void* bytes, uint32_t size, uint32_t* written, void* overlapped);
ZQ_WINAPI(void*) GetProcessHeap(void);
ZQ_WINAPI(void*) HeapAlloc(void* heap, unsigned long flags, size_t size);
ZQ_WINAPI(int) HeapFree(void* heap, unsigned long flags, void* memory);
ZQ_WINAPI(void) ExitProcess(uint32_t code);
ZQ_WINAPI(uint32_t) GetCurrentProcessId(void);
ZQ_WINAPI(uint32_t) GetModuleFileNameW(void* library, wchar_t* path, uint32_t size);
ZQ_WINAPI(uint32_t) GetTempPathW(uint32_t size, wchar_t* path);
ZQ_WINAPI(int) CreateDirectoryW(const wchar_t* path, void* security);
ZQ_WINAPI(int) RemoveDirectoryW(const wchar_t* path);
ZQ_WINAPI(int) DeleteFileW(const wchar_t* path);
ZQ_WINAPI(void*) CreateEventW(void* security, int isManual, int isSet, const wchar_t* name);
ZQ_WINAPI(int) SetEvent(void* event);
ZQ_WINAPI(void*)
CreateThread(void* security, size_t stack, uint32_t(__stdcall* routine)(void*), void* argument,
             uint32_t flags, uint32_t* id);
ZQ_WINAPI(uint32_t) WaitForSingleObject(void* handle, uint32_t milliseconds);
ZQ_WINAPI(int) lstrcmpW(const wchar_t* left, const wchar_t* right);
__declspec(dllimport) int __cdecl wsprintfW(wchar_t* buffer, const wchar_t* format, ...);
ZQ_WINAPI(int) wvsprintfW(wchar_t* buffer, const wchar_t* format, va_list arguments);
#undef ZQ_WINAPI
}
