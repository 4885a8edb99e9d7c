#include "FileBytes.h"

#include "Failure.h"
#include "Text.h"

#include <array>
#include <iostream>
#include <iterator>
#include <random>

#include "platform/Handle.h"

#include <fcntl.h>
#include <io.h>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kHeldPauseMilliseconds = 20;
constexpr int kHeldTries = 25;

bool IsHeld(DWORD error) { return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION; }

bool IsReadOnly(const fs::path& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

// Calls `replace`, which returns 0 or the system's error, again for half a second where somebody holds the
// file: of some holders the system says no more than that access is denied.
template <class Replace>
DWORD ReplaceWhenFree(const fs::path& path, Replace replace) {
    for (int attempt = 1;; ++attempt) {
        const DWORD error = replace();
        const bool mayBeHeld = IsHeld(error) || error == ERROR_UNABLE_TO_REMOVE_REPLACED ||
                               (error == ERROR_ACCESS_DENIED && !IsReadOnly(path));
        if (!mayBeHeld || attempt == kHeldTries) {
            return error;
        }
        Sleep(kHeldPauseMilliseconds);
    }
}

[[noreturn]] void Fail(const fs::path& path, const char* what, DWORD error) {
    throw Failure("the file " + Utf8FromPath(path) + ' ' + what + ": " + SystemErrorText(error));
}

UniqueHandle OpenToRead(const fs::path& path) {
    for (int attempt = 1;; ++attempt) {
        UniqueHandle file = AdoptFileHandle(CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr,
                                                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        const DWORD error = GetLastError();
        if (file) {
            return file;
        }
        // The system says no more than that access is denied.
        if (fs::is_directory(path)) {
            throw Failure(Utf8FromPath(path) + " is a folder, where a file is expected");
        }
        if (!IsHeld(error) || attempt == kHeldTries) {
            Fail(path, "cannot be read", error);
        }
        Sleep(kHeldPauseMilliseconds);
    }
}

bool WriteAll(HANDLE file, std::string_view bytes) {
    DWORD written = 0;
    return WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != 0 &&
           written == bytes.size() && FlushFileBuffers(file) != 0;
}

// Leaves the error in GetLastError, and no file then.
bool Create(const fs::path& path, std::string_view bytes) {
    UniqueHandle file = AdoptFileHandle(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        return false;
    }
    if (WriteAll(file.get(), bytes)) {
        return true;
    }
    const DWORD error = GetLastError();
    file.reset();
    DeleteFileW(path.c_str());
    SetLastError(error);
    return false;
}

fs::path TemporaryNameFor(const fs::path& path) {
    std::random_device random;
    std::array<wchar_t, 24> digits{};
    std::swprintf(digits.data(), digits.size(), L".%08x%08x.tmp", random(), random());
    fs::path temporary = path;
    temporary += digits.data();
    return temporary;
}

} // namespace

std::string ReadBytes(const fs::path& path) {
    const UniqueHandle file = OpenToRead(path);
    std::string bytes;
    std::array<char, 65536> piece;
    for (;;) {
        DWORD count = 0;
        if (!ReadFile(file.get(), piece.data(), static_cast<DWORD>(piece.size()), &count, nullptr)) {
            Fail(path, "cannot be read", GetLastError());
        }
        if (count == 0) {
            return bytes;
        }
        bytes.append(piece.data(), count);
    }
}

std::string ReadStandardInput() {
    _setmode(_fileno(stdin), _O_BINARY);
    return {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
}

void WriteNewFile(const fs::path& path, std::string_view bytes) {
    if (!Create(path, bytes)) {
        Fail(path, "cannot be made", GetLastError());
    }
}

TemporaryFile::TemporaryFile(fs::path target, std::string_view bytes)
    : m_target(std::move(target)), m_path(TemporaryNameFor(m_target)) {
    if (!Create(m_path, bytes)) {
        Fail(m_target, "cannot be written", GetLastError());
    }
}

TemporaryFile::~TemporaryFile() {
    if (!m_path.empty()) {
        DeleteFileW(m_path.c_str());
    }
}

bool TemporaryFile::MoveToFree(const fs::path& path) {
    if (MoveFileExW(m_path.c_str(), path.c_str(), MOVEFILE_WRITE_THROUGH)) {
        m_path.clear();
        return true;
    }
    const DWORD error = GetLastError();
    if (error != ERROR_ALREADY_EXISTS && error != ERROR_FILE_EXISTS) {
        Fail(path, "cannot be written", error);
    }
    return false;
}

void TemporaryFile::Replace() {
    constexpr DWORD kFlags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    const DWORD error = ReplaceWhenFree(m_target, [&]() -> DWORD {
        return MoveFileExW(m_path.c_str(), m_target.c_str(), kFlags) ? DWORD{ERROR_SUCCESS} : GetLastError();
    });
    if (error != ERROR_SUCCESS) {
        Fail(m_target, "cannot be replaced", error);
    }
    m_path.clear();
}

void TemporaryFile::Exchange(const fs::path& keptAs) {
    const DWORD error = ReplaceWhenFree(m_target, [&]() -> DWORD {
        return ReplaceFileW(m_target.c_str(), m_path.c_str(), keptAs.c_str(), 0, nullptr, nullptr)
                   ? DWORD{ERROR_SUCCESS}
                   : GetLastError();
    });
    // Half done: what was moved away goes back, unless somebody has put a file there meanwhile.
    if (error == ERROR_UNABLE_TO_MOVE_REPLACEMENT_2) {
        MoveFileExW(keptAs.c_str(), m_target.c_str(), 0);
    }
    if (error != ERROR_SUCCESS) {
        Fail(m_target, "cannot be replaced", error);
    }
    m_path.clear();
}

void ExchangeFile(const fs::path& path, std::string_view bytes, const fs::path& keptAs) {
    if (fs::exists(fs::symlink_status(keptAs))) {
        throw Failure("the file " + Utf8FromPath(keptAs) + " exists already");
    }
    TemporaryFile(path, bytes).Exchange(keptAs);
}

} // namespace zq::tool
