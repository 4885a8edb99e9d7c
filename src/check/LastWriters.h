// Tracks which member wrote each variable last while variables are visited in the order of writing.
//
// Portable. Names are those of the batches' entries, which must outlive this.
#pragma once

#include "check/FileCheck.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace zq {

class LastWriters {
public:
    struct Writer {
        size_t file;
        const DocumentNode* node; // null for the module itself

        friend bool operator==(const Writer&, const Writer&) = default;
    };

    // Returns the writer that loses its value to this one, if there is any.
    std::optional<Writer> Write(const PlacedVariable& variable, size_t file);

private:
    using Kind = VariableBatch::Kind;

    std::optional<Writer> WriteInto(Kind map, std::wstring_view name, const Writer& writer);

    std::map<std::pair<std::wstring_view, Kind>, Writer> m_last;
};

} // namespace zq
