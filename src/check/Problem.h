// What a check found at one place of a file.
//
// Portable. Texts are UTF-8, without a full stop.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zq {

enum class Severity { Error, Warning };

struct Problem {
    Severity severity;
    const char* code; // for other programs: short, never translated
    int32_t begin;    // units of the text; both are its length behind the end
    int32_t end;
    std::string text; // what is wrong, or what will be read instead
    std::string mend; // what to do; may be empty

    friend bool operator==(const Problem&, const Problem&) = default;
};

using Problems = std::vector<Problem>;

inline void AddError(Problems& problems, const char* code, int32_t begin, int32_t end, std::string text,
                     std::string mend) {
    problems.push_back({Severity::Error, code, begin, end, std::move(text), std::move(mend)});
}

inline void AddWarning(Problems& problems, const char* code, int32_t begin, int32_t end, std::string text,
                       std::string mend) {
    problems.push_back({Severity::Warning, code, begin, end, std::move(text), std::move(mend)});
}

} // namespace zq
