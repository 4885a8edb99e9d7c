// Texts that the module refused and replaced by the default: read before it acts on them, kept in memory, so
// that nobody's work is lost for a comma.
#pragma once

#include "serve/DataFiles.h"

#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zq::tool {

class RefusedTexts {
public:
    RefusedTexts(DataFiles files, DataFiles defaults)
        : m_files(std::move(files)), m_defaults(std::move(defaults)) {}

    struct Refused {
        std::string id; // "memory/3"
        ConfigFile file;
        std::string bytes;
        std::string time;
    };

    // To be called several times a second: the module waits longer than that before it replaces a refused
    // file.
    void Look();
    // After a reload: what was replaced since the last call.
    std::vector<Refused> Take();

    // The last ones that were replaced, the newest first.
    std::vector<Refused> Kept() const;

private:
    const DataFiles m_files;
    const DataFiles m_defaults;
    mutable std::mutex m_mutex;
    std::map<ConfigFile, std::pair<uint64_t, uint64_t>> m_looked; // stamps
    std::map<ConfigFile, std::string> m_pending;
    std::deque<Refused> m_kept;
    uint64_t m_lastId = 0;
};

} // namespace zq::tool
