// What the default copy of a configuration file knows: the keys, and the variables with their types.
//
// Portable.
#pragma once

#include "config/ConfigText.h"
#include "variables/VariableBatch.h"

#include <map>
#include <set>
#include <string>
#include <string_view>

namespace zq {

using KnownKeys = std::set<std::wstring, std::less<>>;

struct DefaultFile {
    // Of a default file that is not at hand, nothing is known.
    DefaultFile() = default;
    // Of a text that cannot be read, nothing is known either.
    DefaultFile(ConfigFile file, std::string_view bytes);

    // At every depth, and the last parts of dotted ones.
    KnownKeys keys;
    std::map<std::wstring, VariableBatch::Kind, std::less<>> types;
};

} // namespace zq
