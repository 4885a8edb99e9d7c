// The three files of one data folder, and the copies of them in its sub-folders "rejected" and "kept": the
// only files that the dashboard reads or writes. A name from outside is looked up in a listing, never made
// into a path.
#pragma once

#include "LiveMessage.h"

#include "config/ConfigFile.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zq::tool {

std::optional<ConfigFile> ConfigFileOf(std::string_view name);

struct FileCopy {
    std::string id; // "rejected/ZQ2_HmdList.json.20260102T030405.678Z"
    ConfigFile file;
    uint64_t size;
    uint64_t modified;
    bool isAccepted;
};

class DataFiles {
public:
    explicit DataFiles(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    const std::filesystem::path& Folder() const { return m_folder; }
    std::filesystem::path PathOf(ConfigFile file) const;
    bool HasFolder() const;

    // Nothing where there is no such file, or it cannot be opened now. Larger files than 16 MB are not read.
    std::optional<std::string> Read(ConfigFile file) const;
    // The size and time only, for a cheap look whether anything changed; {0, 0} for a missing file.
    std::pair<uint64_t, uint64_t> Stamp(ConfigFile file) const;
    DataFileState StateOf(ConfigFile file) const;

    // The whole file, by a new temporary file beside it and a rename; a link in its place is replaced, not
    // followed. A file that somebody holds is tried again for half a second. Raises Failure, and the file is
    // as it was then.
    void Write(ConfigFile file, std::string_view bytes) const;

    // The newest first.
    std::vector<FileCopy> Copies() const;
    // Nothing where the listing has no such id.
    std::optional<std::string> ReadCopy(std::string_view id) const;

private:
    std::filesystem::path m_folder;
};

} // namespace zq::tool
