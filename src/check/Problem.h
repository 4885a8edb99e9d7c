// What a check found at one location of a file.
//
// Portable. Texts are UTF-8, without a full stop.
#pragma once

#include "check/TextEdit.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zq {

enum class Severity { Error, Warning };

struct Problem {
    Severity severity;
    const char* code; // for other programs: short, never translated
    int32_t begin;    // units of the text; both are its length for what is after the end
    int32_t end;
    std::string text;     // what is wrong, or what is read instead
    std::string fix;      // what to do; may be empty
    TextEdits edits = {}; // that do it; none where only the author knows what was meant

    friend bool operator==(const Problem&, const Problem&) = default;
};

using Problems = std::vector<Problem>;

inline Problem& AddError(Problems& problems, const char* code, int32_t begin, int32_t end, std::string text,
                         std::string fix, TextEdits edits = {}) {
    return problems.emplace_back(
        Problem{Severity::Error, code, begin, end, std::move(text), std::move(fix), std::move(edits)});
}

inline Problem& AddWarning(Problems& problems, const char* code, int32_t begin, int32_t end, std::string text,
                           std::string fix, TextEdits edits = {}) {
    return problems.emplace_back(
        Problem{Severity::Warning, code, begin, end, std::move(text), std::move(fix), std::move(edits)});
}

} // namespace zq
