// Files of the native builds, in place of the component's own: one file system call for each of Windows'.
// Nobody can hold a file without sharing it here.
#include "platform/Files.h"
#include "platform/Clock.h"
#include "platform/EditableFile.h"
#include "platform/TemporaryName.h"
#include "shim/Object.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zq {

namespace {

namespace fs = std::filesystem;

constexpr int64_t kSecondsFrom1601To1970 = 11'644'473'600;
constexpr uint64_t kTicksPerSecond = 10'000'000;

class OpenFile final : public shim::Object {
public:
    explicit OpenFile(int descriptor) : m_descriptor(descriptor) {}
    ~OpenFile() override { close(m_descriptor); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int Descriptor() const { return m_descriptor; }

private:
    int m_descriptor;
};

int DescriptorOf(void* file) { return static_cast<OpenFile*>(shim::AsObject(file))->Descriptor(); }

UniqueHandle Open(const std::wstring& path, int flags) {
    const int descriptor = open(fs::path(path).c_str(), flags, 0600);
    return UniqueHandle(descriptor < 0 ? nullptr : static_cast<shim::Object*>(new OpenFile(descriptor)));
}

DWORD ErrorOf(int error) {
    switch (error) {
    case 0:
        return ERROR_SUCCESS;
    case ENOENT:
    case ENOTDIR:
        return ERROR_FILE_NOT_FOUND;
    case EEXIST:
        return ERROR_ALREADY_EXISTS;
    default:
        return ERROR_ACCESS_DENIED;
    }
}

DWORD LastError() { return ErrorOf(errno); }

FileTime TimeOf(const struct stat& status) {
    const int64_t seconds = status.st_mtim.tv_sec;
    return {seconds, static_cast<uint64_t>(seconds + kSecondsFrom1601To1970) * kTicksPerSecond +
                         static_cast<uint64_t>(status.st_mtim.tv_nsec / 100)};
}

uint32_t WriteWhole(int descriptor, std::string_view bytes) {
    return pwrite(descriptor, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()) &&
                   ftruncate(descriptor, static_cast<off_t>(bytes.size())) == 0
               ? DWORD{ERROR_SUCCESS}
               : DWORD{ERROR_ACCESS_DENIED};
}

class SteadyClock final : public Clock {
public:
    uint64_t Milliseconds() const override { return GetTickCount64(); }
    uint64_t FileTicks() const override {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() /
                                     100) +
               static_cast<uint64_t>(kSecondsFrom1601To1970) * kTicksPerSecond;
    }
    void Sleep(uint32_t milliseconds) const override { ::Sleep(milliseconds); }
};

constinit const SteadyClock g_clock;

} // namespace

const Clock& SystemClock() { return g_clock; }

int ExistenceResult(const std::wstring& path) { return access(fs::path(path).c_str(), F_OK); }

std::optional<FileTime> LastWriteTime(const std::wstring& path) {
    struct stat status {};
    return stat(fs::path(path).c_str(), &status) == 0 ? std::optional(TimeOf(status)) : std::nullopt;
}

FileSnapshot ReadSnapshot(const std::wstring& path) {
    FileSnapshot snapshot;
    const UniqueHandle file = Open(path, O_RDONLY);
    struct stat status {};
    if (!file || fstat(DescriptorOf(file.get()), &status) != 0) {
        snapshot.error = LastError();
        snapshot.access = AccessOf(snapshot.error);
        return snapshot;
    }
    snapshot.lastWrite = TimeOf(status);
    ReadWhole(file.get(), snapshot.bytes);
    snapshot.access = FileAccess::Read;
    return snapshot;
}

bool IsOpenForWriting(const std::wstring&) { return false; }
bool IsHeldError(uint32_t) { return false; }
bool IsMissingError(uint32_t error) { return error == ERROR_FILE_NOT_FOUND; }

FileAccess AccessOf(uint32_t error) {
    return IsMissingError(error) ? FileAccess::Missing : FileAccess::Failed;
}

uint32_t ReadWhole(void* file, std::vector<char>& bytes) {
    struct stat status {};
    fstat(DescriptorOf(file), &status);
    bytes.resize(static_cast<size_t>(status.st_size));
    const ssize_t count = pread(DescriptorOf(file), bytes.data(), bytes.size(), 0);
    bytes.resize(count < 0 ? 0 : static_cast<size_t>(count));
    return ERROR_SUCCESS;
}

uint32_t CopyToNewFile(const std::wstring& from, const std::wstring& to) {
    std::error_code error;
    fs::copy_file(from, to, error);
    return ErrorOf(error.value());
}

uint32_t WriteNewFile(const std::wstring& path, const std::vector<char>& bytes) {
    const UniqueHandle file = Open(path, O_WRONLY | O_CREAT | O_EXCL);
    return file ? WriteWhole(DescriptorOf(file.get()), {bytes.data(), bytes.size()}) : LastError();
}

uint32_t RenameFile(const std::wstring& from, const std::wstring& to, Replacing replacing) {
    const unsigned int flags = replacing == Replacing::Yes ? 0 : RENAME_NOREPLACE;
    return renameat2(AT_FDCWD, fs::path(from).c_str(), AT_FDCWD, fs::path(to).c_str(), flags) == 0
               ? DWORD{ERROR_SUCCESS}
               : LastError();
}

uint32_t DeletePath(const std::wstring& path) {
    std::error_code error;
    fs::remove(path, error);
    return ErrorOf(error.value());
}

bool IsLinkElsewhere(const std::wstring&) { return false; }
bool LeadsElsewhere(void*, const std::wstring&) { return false; }

PinnedFolder::PinnedFolder(const std::wstring& path) : m_folder(Open(path, O_RDONLY | O_DIRECTORY)) {}

std::wstring TemporaryPath(const std::wstring& path) {
    static std::atomic<unsigned> next{0};
    const std::wstring number = std::to_wstring(next++);
    return path + L'.' + std::wstring(kTemporaryDigits - number.size(), L'0') + number +
           std::wstring(kTemporarySuffix);
}

void RaiseFileError(const char* what, const std::wstring& path, uint32_t error) {
    throw fs::filesystem_error(what, path, {static_cast<int>(error), std::generic_category()});
}

void RaiseFileError(const char* what, const std::wstring& from, const std::wstring& to, uint32_t error) {
    throw fs::filesystem_error(what, from, to, {static_cast<int>(error), std::generic_category()});
}

EditableFile::EditableFile(const std::wstring& path) : m_file(Open(path, O_RDWR)) {
    if (!m_file) {
        m_access = AccessOf(LastError());
    }
}

uint32_t EditableFile::Read(std::vector<char>& bytes) const { return ReadWhole(m_file.get(), bytes); }

uint32_t EditableFile::Overwrite(std::string_view, std::string_view fresh) const {
    return WriteWhole(DescriptorOf(m_file.get()), fresh);
}

} // namespace zq
