// What an author most likely meant by a word that is not a JSON value: yes, 1e5, 0x46, 70Mbps, HEVC.
//
// Portable.
#pragma once

#include <string>
#include <string_view>

namespace zq {

struct WordRepair {
    const char* code = nullptr; // null for a word that the module reads
    std::string text;
    std::string fix;
    std::wstring value;    // to be written instead
    bool isCertain = true; // or only the author knows
};

WordRepair RepairWord(std::wstring_view word);

// Whether the word is a number, or begins with one that a unit follows.
bool IsNumberWord(std::wstring_view word);

} // namespace zq
