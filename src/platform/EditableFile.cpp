#include "platform/EditableFile.h"

#include <algorithm>

namespace zq {

EditableFile::EditableFile(const std::wstring& path)
    : m_file(AdoptFileHandle(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                         FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                         FILE_ATTRIBUTE_NORMAL, nullptr))) {
    if (!m_file) {
        m_access = AccessOf(GetLastError());
    } else if (LeadsElsewhere(m_file.get(), path)) {
        m_file.reset();
        m_access = FileAccess::Failed;
    }
}

uint32_t EditableFile::Read(std::vector<char>& bytes) const { return ReadWhole(m_file.get(), bytes); }

uint32_t EditableFile::Overwrite(std::string_view old, std::string_view fresh) const {
    // Setting the length reserves no space: the bytes beyond the old end have to be written.
    if (fresh.size() > old.size()) {
        if (const uint32_t error = WriteAt(old.size(), fresh.substr(old.size()))) {
            SetLength(old.size());
            return error;
        }
    }
    const uint32_t error = Replace(old, fresh);
    if (error != ERROR_SUCCESS) {
        WriteAt(0, old);
        SetLength(old.size());
    }
    return error;
}

uint32_t EditableFile::Replace(std::string_view old, std::string_view fresh) const {
    if (const uint32_t error = WriteAt(0, fresh.substr(0, std::min(old.size(), fresh.size())))) {
        return error;
    }
    if (const uint32_t error = fresh.size() < old.size() ? SetLength(fresh.size()) : DWORD{ERROR_SUCCESS}) {
        return error;
    }
    return FlushFileBuffers(m_file.get()) ? DWORD{ERROR_SUCCESS} : GetLastError();
}

uint32_t EditableFile::WriteAt(uint64_t offset, std::string_view bytes) const {
    if (bytes.empty()) {
        return ERROR_SUCCESS;
    }
    LARGE_INTEGER position{};
    position.QuadPart = static_cast<LONGLONG>(offset);
    DWORD written = 0;
    if (!SetFilePointerEx(m_file.get(), position, nullptr, FILE_BEGIN) ||
        !WriteFile(m_file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr)) {
        return GetLastError();
    }
    return written == bytes.size() ? DWORD{ERROR_SUCCESS} : DWORD{ERROR_DISK_FULL};
}

uint32_t EditableFile::SetLength(uint64_t length) const {
    LARGE_INTEGER position{};
    position.QuadPart = static_cast<LONGLONG>(length);
    return SetFilePointerEx(m_file.get(), position, nullptr, FILE_BEGIN) && SetEndOfFile(m_file.get())
               ? DWORD{ERROR_SUCCESS}
               : GetLastError();
}

} // namespace zq
