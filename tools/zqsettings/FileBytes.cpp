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

// A name beside `path` that nobody can guess, so that nobody can plant a link there.
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
    UniqueHandle file = AdoptFileHandle(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        Fail(path, "cannot be made", GetLastError());
    }
    if (!WriteAll(file.get(), bytes)) {
        const DWORD error = GetLastError();
        file.reset();
        DeleteFileW(path.c_str());
        Fail(path, "cannot be written", error);
    }
}

void ExchangeFile(const fs::path& path, std::string_view bytes, const fs::path& keptAs) {
    if (fs::exists(fs::symlink_status(keptAs))) {
        throw Failure("the file " + Utf8FromPath(keptAs) + " exists already");
    }
    const fs::path temporary = TemporaryNameFor(path);
    WriteNewFile(temporary, bytes);
    if (ReplaceFileW(path.c_str(), temporary.c_str(), keptAs.c_str(), 0, nullptr, nullptr)) {
        return;
    }
    const DWORD error = GetLastError();
    // Half done: what was moved away goes back, unless somebody has put a file there meanwhile.
    if (error == ERROR_UNABLE_TO_MOVE_REPLACEMENT_2) {
        MoveFileExW(keptAs.c_str(), path.c_str(), 0);
    }
    DeleteFileW(temporary.c_str());
    Fail(path, "cannot be replaced", error);
}

} // namespace zq::tool
