// Reads to its end a text that the module's reader refuses, and finds each of its faults.
//
// Portable. After a fault, reading continues at the next token, as if the author had written what was most
// likely meant. If brackets are missing or surplus in the middle of the text, the indentation decides
// which.
#pragma once

#include "check/Problem.h"

#include <string_view>

namespace zq {

struct Recovered {
    Problems problems;       // errors, each with the edits that certainly fix it
    TextEdits edits;         // all edits, those of doubtful cases included: with them the text can be read
    bool isCertain = true;   // no case is doubtful
    bool hasDocument = true; // or there is nothing that could be one
};

Recovered Recover(std::wstring_view text);

} // namespace zq
