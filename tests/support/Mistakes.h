// The mistakes that people make in the configuration files, kept as files in tests/mistakes/. The source that
// includes this needs ZQ_SOURCE_DIR.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace zq::test {

// Sorted by name.
inline std::vector<std::filesystem::path> Mistakes() {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(ZQ_SOURCE_DIR) / "tests" / "mistakes")) {
        if (entry.is_regular_file()) {
            paths.push_back(entry.path());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

// "ZQ2_HmdList.tab-in-text.json" is ZQ2_HmdList.json with the mistake tab-in-text.
inline std::filesystem::path RealName(const std::filesystem::path& mistake) {
    std::filesystem::path name = mistake.stem().stem();
    name += mistake.extension();
    return name;
}

} // namespace zq::test
