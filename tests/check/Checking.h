// A check of one document in a test: what it said, as lines like "1:5 warning trailing-comma".
#pragma once

#include "check/FileCheck.h"

#include <string>
#include <string_view>
#include <vector>

namespace zq::test {

using Lines = std::vector<std::string>;

inline std::string LineOf(const FileCheck& check, const Problem& problem) {
    const TextPosition position = check.Source().PositionOf(problem.begin);
    return std::to_string(position.line) + ':' + std::to_string(position.column) +
           (problem.severity == Severity::Error ? " error " : " warning ") + problem.code;
}

inline Lines LinesOf(const FileCheck& check) {
    Lines lines;
    for (const Problem& problem : check.All()) {
        lines.push_back(LineOf(check, problem));
    }
    return lines;
}

inline Lines Check(std::string_view bytes, ConfigFile file = ConfigFile::Settings,
                   const DefaultFile& defaults = {}) {
    return LinesOf(FileCheck(file, bytes, defaults));
}

// The problems with this code, each as "piece | text | fix".
inline std::string Said(std::string_view document, std::string_view code,
                        ConfigFile file = ConfigFile::Settings, const DefaultFile& defaults = {}) {
    const FileCheck check(file, document, defaults);
    std::string said;
    for (const Problem& problem : check.All()) {
        if (problem.code == code) {
            said += std::string(document.substr(static_cast<size_t>(problem.begin),
                                                static_cast<size_t>(problem.end - problem.begin))) +
                    " | " + problem.text + " | " + problem.fix;
        }
    }
    return said;
}

inline bool IsAccepted(std::string_view bytes, ConfigFile file = ConfigFile::Settings) {
    return FileCheck(file, bytes, {}).IsAccepted();
}

} // namespace zq::test
