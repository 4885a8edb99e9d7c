// Owned Win32 handles: the type says what is owned and what frees it. Moves only, no naked HANDLE outlives
// the line that made it.
#pragma once

#include <memory>
#include <type_traits>

#include <windows.h>

namespace zq {

struct CloseHandleDeleter {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

// Any kernel object whose missing value is null: events, mutexes, threads.
using UniqueHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, CloseHandleDeleter>;

// CreateFile marks a missing file with INVALID_HANDLE_VALUE; this turns it into null, the missing value of
// UniqueHandle.
inline UniqueHandle AdoptFileHandle(HANDLE file) {
    return UniqueHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

} // namespace zq
