#include "FolderMirror.h"

#include "DataFolder.h"
#include "Failure.h"
#include "FileBytes.h"
#include "Text.h"

#include "config/ConfigFile.h"
#include "platform/FileTicks.h"

#include <fstream>

#include <windows.h>

namespace zq::tool {

namespace fs = std::filesystem;

namespace {

// Longer than the tick of any file system's clock that a server runs on.
constexpr uint64_t kFreshTicks = 1'000'000; // of 100 ns: 100 ms

bool IsFresh(uint64_t time) {
    FILETIME now{};
    GetSystemTimePreciseAsFileTime(&now);
    return TicksOf(now) - time < kFreshTicks;
}

} // namespace

FolderMirror::FolderMirror(fs::path original) : m_original(std::move(original)) {
    fs::create_directory(Copy());
    for (const ConfigFile file : kConfigFiles) {
        Followed& followed = m_files[static_cast<size_t>(file)];
        const fs::path path = m_original / NameOfConfigFile(file);
        followed.stamp = StampOf(path);
        if (followed.stamp.exists) {
            followed.bytes = ReadBytes(path);
            followed.isFresh = IsFresh(followed.stamp.time);
            CopyToMirror(file, followed.bytes);
        }
    }
}

fs::path FolderMirror::Copy() const { return m_scratch.Path() / kDataFolderName; }

std::vector<PrivateFile> FolderMirror::Follow() {
    std::vector<PrivateFile> changed;
    for (const ConfigFile file : kConfigFiles) {
        if (std::optional<PrivateFile> now = FollowOne(file)) {
            changed.push_back(*std::move(now));
        }
    }
    return changed;
}

FolderMirror::Stamp FolderMirror::StampOf(const fs::path& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) {
        return {};
    }
    return {true, TicksOf(data.ftLastWriteTime), uint64_t{data.nFileSizeHigh} << 32U | data.nFileSizeLow};
}

std::optional<PrivateFile> FolderMirror::FollowOne(ConfigFile file) {
    Followed& followed = m_files[static_cast<size_t>(file)];
    const Stamp stamp = StampOf(m_original / NameOfConfigFile(file));
    if (stamp == followed.stamp && !followed.isFresh) {
        return std::nullopt;
    }
    PrivateFile now;
    try {
        now = LookAtPrivateFile(m_original, file);
    } catch (const Failure&) {
        return std::nullopt;
    }
    const bool isChanged = stamp != followed.stamp || now.bytes != followed.bytes;
    followed = {stamp, now.bytes, stamp.exists && IsFresh(stamp.time)};
    if (!isChanged) {
        return std::nullopt;
    }
    if (now.state == PrivateFileState::Accepted) {
        CopyToMirror(file, now.bytes);
    }
    return now;
}

void FolderMirror::CopyToMirror(ConfigFile file, const std::string& bytes) const {
    std::ofstream out(Copy() / NameOfConfigFile(file), std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) {
        throw Failure("the copy of " + Utf8FromPath(m_original / NameOfConfigFile(file)) +
                      " cannot be written");
    }
}

} // namespace zq::tool
