// Where the variables of a folder come from: every place of its files that sets a name, also those that lose.
#pragma once

#include "VariableListing.h"

#include <filesystem>
#include <string>
#include <vector>

namespace zq::tool {

enum class OriginFate {
    Counts,
    WrittenOver, // by a later place with the same name and type
    KeyTwice     // the same key comes again in its object
};

struct VariableOrigin {
    std::filesystem::path file;
    int32_t line; // 0 for what the module counts itself
    int32_t column;
    VariableValue value;
    bool isNumber; // a whole number, which is a double too
    OriginFate fate;
};

// In the order in which the module writes them. The defaults stand in for files that are missing from `data`
// or refused, as they do in the module; an empty `data` stands for the defaults. Raises Failure where a file
// cannot be read.
std::vector<VariableOrigin> OriginsOf(const std::wstring& name, const std::filesystem::path& data,
                                      const std::filesystem::path& defaults);

} // namespace zq::tool
