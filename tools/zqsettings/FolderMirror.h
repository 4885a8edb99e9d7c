// A copy of a data folder for the module to work on, so that nothing that the module does reaches the
// original. The copy follows the original: each text that the module accepts is written into the copy too,
// where the module's own watcher sees it. Refused texts are not: the module would replace them.
//
// One thread.
#pragma once

#include "PrivateFiles.h"
#include "ScratchFolder.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zq::tool {

class FolderMirror {
public:
    // Copies the files that are there, refused ones too. Raises Failure for a file that cannot be read.
    explicit FolderMirror(std::filesystem::path original);

    const std::filesystem::path& Original() const { return m_original; }
    // The copy, a folder "ZQserver".
    std::filesystem::path Copy() const;

    // Brings the copy up to date and returns the files whose content or state has changed since the last
    // call. A file that is held is left for the next call.
    std::vector<PrivateFile> Follow();

private:
    struct Stamp {
        bool exists = false;
        uint64_t time = 0; // of the last write, in units of 100 ns since 1601
        uint64_t size = 0;

        friend bool operator==(const Stamp&, const Stamp&) = default;
    };
    struct Followed {
        Stamp stamp;
        std::string bytes;
        bool isFresh = false; // written so recently that another write may have the same stamp
    };

    static Stamp StampOf(const std::filesystem::path& path);
    std::optional<PrivateFile> FollowOne(ConfigFile file);
    void CopyToMirror(ConfigFile file, const std::string& bytes) const;

    std::filesystem::path m_original;
    ScratchFolder m_scratch;
    std::array<Followed, kConfigFiles.size()> m_files;
};

} // namespace zq::tool
