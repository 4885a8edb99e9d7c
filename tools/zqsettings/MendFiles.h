// Writing the mended copy of a file, and telling what was done.
#pragma once

#include "FileArguments.h"

#include <string>

namespace zq::tool {

enum class MendTarget { Beside, InPlace };

struct MendReport {
    bool isMended = false; // a file that the module takes stands where it was wanted
    std::string written;   // its path, UTF-8; empty where nothing had to be written
    std::string text;      // a line for a person
};

// Beside: "<name>.fixed<extension>", written over where it exists. In place: the old file is kept as
// "<file>.bak", or with the first number behind it that is free. A write that fails leaves the file as it was
// and raises Failure.
MendReport MendOne(const FileArgument& file, const std::string& bytes, MendTarget target);

} // namespace zq::tool
