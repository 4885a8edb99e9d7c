// Writing the fixed copy of a file, and reporting what was done.
#pragma once

#include "FileArguments.h"

#include <string>

namespace zq::tool {

enum class FixTarget { Beside, InPlace };

struct FixReport {
    bool isFixable = false; // the file can be put right without its author, or nothing was wrong
    bool isInPlace = false; // the file itself is right now
    std::string written;    // path of the fixed file, UTF-8; empty where nothing had to be written
    std::string text;       // a line for a person
};

// Beside: "<name>.fixed<extension>", or with the first free number: a file that is there may have been edited
// and is kept, unless it holds the very same bytes. In place: by one exchange; the old file, whatever it is
// by then, is kept as "<file>.bak", or with the first free number. A write that fails, or a file that has
// changed since `bytes` were read, raises Failure and leaves everything as it was.
FixReport FixOne(const FileArgument& file, const std::string& bytes, bool hasProblems, FixTarget target);

} // namespace zq::tool
