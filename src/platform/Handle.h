// Owned Win32 handles: the type says what is owned and what frees it. The types are move-only, and no raw
// HANDLE outlives the line that made it.
#pragma once

#include <memory>
#include <type_traits>

#include <windows.h>

namespace zq {

struct CloseHandleDeleter {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

// Any kernel object whose invalid value is null: events, mutexes, threads.
using UniqueHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, CloseHandleDeleter>;

// CreateFile returns INVALID_HANDLE_VALUE on failure; this turns it into null, the invalid value of
// UniqueHandle.
inline UniqueHandle AdoptFileHandle(HANDLE file) {
    return UniqueHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

} // namespace zq
