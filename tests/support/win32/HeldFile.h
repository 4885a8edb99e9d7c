// A file that this process has open, so that others cannot open it as they want.
#pragma once

#include "support/win32/Waiting.h"

#include <filesystem>
#include <stdexcept>

#include <windows.h>

namespace zq::test {

class HeldFile {
public:
    // `share`: what others may do meanwhile, as for CreateFileW. Waits while others have the file open in a
    // way that forbids this.
    explicit HeldFile(const std::filesystem::path& path, DWORD share = 0) {
        if (!WaitFor([&] {
                m_handle = CreateFileW(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr);
                return m_handle != INVALID_HANDLE_VALUE;
            })) {
            throw std::runtime_error("the file cannot be held");
        }
    }
    ~HeldFile() { CloseHandle(m_handle); }
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;

private:
    HANDLE m_handle = INVALID_HANDLE_VALUE;
};

} // namespace zq::test
