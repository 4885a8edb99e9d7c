// The keys of the default copy of a configuration file, and its variables with their types.
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
    // Nothing is known of a default file that is not available.
    DefaultFile() = default;
    // Nothing is known of a text that cannot be read.
    DefaultFile(ConfigFile file, std::string_view bytes);

    // At every depth, and the last parts of dotted ones.
    KnownKeys keys;
    std::map<std::wstring, VariableBatch::Kind, std::less<>> types;
};

} // namespace zq
