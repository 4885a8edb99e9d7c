#include "serve/RefusedTexts.h"

#include "TimeText.h"

#include "check/FileCheck.h"

#include <algorithm>

namespace zq::tool {

namespace {

constexpr size_t kMostTexts = 10;

} // namespace

void RefusedTexts::Look() {
    const std::lock_guard lock(m_mutex);
    for (const ConfigFile file : kConfigFiles) {
        const auto stamp = m_files.Stamp(file);
        if (m_looked[file] == stamp) {
            continue;
        }
        m_looked[file] = stamp;
        std::optional<std::string> bytes = m_files.Read(file);
        if (bytes && !WouldLoad(file, *bytes)) {
            m_pending[file] = std::move(*bytes);
        }
    }
}

std::vector<RefusedTexts::Refused> RefusedTexts::Take() {
    const std::lock_guard lock(m_mutex);
    std::vector<Refused> taken;
    std::erase_if(m_pending, [&](auto& pending) {
        auto& [file, bytes] = pending;
        const std::optional<std::string> now = m_files.Read(file);
        // The module acts on a refused file only after a while: it may become half of an edit yet.
        if (!now || now == bytes) {
            return false;
        }
        if (now == m_defaults.Read(file)) {
            taken.push_back({"memory/" + std::to_string(++m_lastId), file, std::move(bytes), UtcText()});
            m_kept.push_front(taken.back());
        }
        return true;
    });
    m_kept.resize(std::min(m_kept.size(), kMostTexts));
    return taken;
}

std::vector<RefusedTexts::Refused> RefusedTexts::Kept() const {
    const std::lock_guard lock(m_mutex);
    return {m_kept.begin(), m_kept.end()};
}

} // namespace zq::tool
