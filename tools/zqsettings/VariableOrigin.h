// Where the variables of a folder come from: every place of its files that sets a name, also those that lose.
#pragma once

#include "VariableListing.h"

#include "variables/VariableBatch.h"

#include <filesystem>
#include <memory>
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
    VariableValue value;      // for KeyTwice, the text of the file
    VariableBatch::Kind kind; // a whole number sets the integer and the double
    OriginFate fate;
};

// The places of a folder's files by name; each file is read once. The defaults are read for files that are
// missing from `data` or refused, as they are by the module; an empty `data` means the defaults.
class VariableOrigins {
public:
    // Raises Failure where a file cannot be read.
    VariableOrigins(const std::filesystem::path& data, const std::filesystem::path& defaults);
    ~VariableOrigins();
    VariableOrigins(const VariableOrigins&) = delete;
    VariableOrigins& operator=(const VariableOrigins&) = delete;

    // In the order in which the module writes them.
    std::vector<VariableOrigin> Of(const std::wstring& name) const;

private:
    struct File;

    std::vector<std::unique_ptr<File>> m_files;
};

// For one name only.
std::vector<VariableOrigin> OriginsOf(const std::wstring& name, const std::filesystem::path& data,
                                      const std::filesystem::path& defaults);

// Those that set the variable of this type; the last of them counts. Types do not get in each other's way.
std::vector<VariableOrigin> OriginsOfType(const std::vector<VariableOrigin>& origins, VariableType type);

// The type by which a kind of entry is first listed.
VariableType TypeOf(VariableBatch::Kind kind);

} // namespace zq::tool
