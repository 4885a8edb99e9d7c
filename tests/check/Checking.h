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

inline bool IsAccepted(std::string_view bytes, ConfigFile file = ConfigFile::Settings) {
    return FileCheck(file, bytes, {}).IsAccepted();
}

} // namespace zq::test
