#include "serve/DataFiles.h"

#include "FileBytes.h"
#include "KeptFiles.h"
#include "Text.h"

#include "check/FileCheck.h"
#include "config/ConfigFile.h"
#include "platform/FileTicks.h"
#include "platform/Handle.h"

#include <system_error>

#include <windows.h>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

constexpr uint64_t kLargestFile = uint64_t{16} * 1024 * 1024;

uint64_t Joined(DWORD high, DWORD low) { return uint64_t{high} << 32U | low; }

std::optional<std::string> ReadBounded(const fs::path& path) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const UniqueHandle handle = AdoptFileHandle(
        CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER size{};
    if (!handle || !GetFileSizeEx(handle.get(), &size) ||
        static_cast<uint64_t>(size.QuadPart) > kLargestFile) {
        return {};
    }
    // One more than the size that was seen, to notice a file that is growing; whoever reads it looks again
    // then.
    std::string bytes(static_cast<size_t>(size.QuadPart) + 1, '\0');
    DWORD read = 0;
    if (!ReadFile(handle.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) {
        return {};
    }
    bytes.resize(read);
    return bytes;
}

} // namespace

std::optional<ConfigFile> ConfigFileOf(std::string_view name) {
    for (const ConfigFile file : kConfigFiles) {
        if (NameOf(file) == name) {
            return file;
        }
    }
    return {};
}

fs::path DataFiles::PathOf(ConfigFile file) const { return m_folder / NameOfConfigFile(file); }

bool DataFiles::HasFolder() const {
    std::error_code error;
    return fs::is_directory(m_folder, error);
}

std::optional<std::string> DataFiles::Read(ConfigFile file) const { return ReadBounded(PathOf(file)); }

std::pair<uint64_t, uint64_t> DataFiles::Stamp(ConfigFile file) const {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(PathOf(file).c_str(), GetFileExInfoStandard, &data)) {
        return {0, 0};
    }
    return {Joined(data.nFileSizeHigh, data.nFileSizeLow), TicksOf(data.ftLastWriteTime)};
}

DataFileState DataFiles::StateOf(ConfigFile file) const {
    DataFileState state;
    state.file = file;
    const auto [size, modified] = Stamp(file);
    state.exists = modified != 0;
    state.size = size;
    state.modified = modified;
    if (const std::optional<std::string> bytes = Read(file)) {
        state.isAccepted = WouldLoad(file, *bytes);
        state.hash = HashOf(*bytes);
    }
    return state;
}

void DataFiles::Write(ConfigFile file, std::string_view bytes) const {
    TemporaryFile(PathOf(file), bytes).Replace();
}

std::vector<FileCopy> DataFiles::Copies() const {
    std::vector<FileCopy> copies;
    for (const KeptName& kept : KeptNamesOf(m_folder)) {
        const fs::path path = m_folder / kept.folder / kept.name;
        WIN32_FILE_ATTRIBUTE_DATA data{};
        if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) {
            continue;
        }
        const std::optional<std::string> bytes = ReadBounded(path);
        copies.push_back({Utf8FromWide(kept.folder) + '/' + Utf8FromWide(kept.name), kept.file,
                          Joined(data.nFileSizeHigh, data.nFileSizeLow), TicksOf(data.ftLastWriteTime),
                          bytes && WouldLoad(kept.file, *bytes)});
    }
    return copies;
}

std::optional<std::string> DataFiles::ReadCopy(std::string_view id) const {
    for (const FileCopy& copy : Copies()) {
        if (copy.id == id) {
            return ReadBounded(m_folder / WideFromUtf8(copy.id));
        }
    }
    return {};
}

} // namespace zq::tool
