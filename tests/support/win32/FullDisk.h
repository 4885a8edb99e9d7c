// A disk that is full after a number of bytes, for what the DLL writes on this thread.
#pragma once

#include "support/win32/ImportPatch.h"
#include "support/win32/Module.h"

#include <algorithm>
#include <optional>

#include <windows.h>

namespace zq::test {

// Applies during the object's lifetime. One at a time.
class FullDisk {
public:
    explicit FullDisk(DWORD bytes)
        : m_patch(LoadModuleDll(), "kernel32.dll", "WriteFile", AsProc(WriteUntilFull)) {
        s_bytesLeft = bytes;
    }
    ~FullDisk() { s_bytesLeft.reset(); }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    static BOOL WINAPI WriteUntilFull(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written,
                                      LPOVERLAPPED overlapped) {
        const DWORD part = std::min(size, s_bytesLeft.value_or(size));
        if ((part != 0 || size == 0) && !WriteFile(file, bytes, part, written, overlapped)) {
            return FALSE;
        }
        if (s_bytesLeft) {
            *s_bytesLeft -= part;
        }
        SetLastError(part < size ? DWORD{ERROR_DISK_FULL} : DWORD{ERROR_SUCCESS});
        return part == size;
    }

    static inline thread_local std::optional<DWORD> s_bytesLeft;
    ImportPatch m_patch;
};

} // namespace zq::test
