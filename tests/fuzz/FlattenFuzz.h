// What the fuzz targets of the three flatteners share.
#pragma once

#include "Require.h"

#include "config/json/JsonReader.h"
#include "support/ConfigRun.h"

#include <cstdint>
#include <string_view>

namespace zq::fuzz {

// Flattens whatever can be read, also what a file would be refused for, and counts: an assignment takes at
// least one character of the text, but for the number of headsets that each object ends with.
inline void RequireBounded(ConfigFile file, const uint8_t* data, size_t size) {
    const std::wstring text(data, data + size);
    JsonRoot root;
    if (ParseJsonValue(root, text.data(), static_cast<int32_t>(size)) < 1) {
        return;
    }
    VariableBatch batch;
    FlattenConfig(file, root, batch, HostLog());
    Require(batch.Entries().size() <= size);
    VariableMaps once;
    once.Apply(batch);
    VariableMaps twice;
    twice.Apply(batch);
    twice.Apply(batch);
    Require(test::VariablesOf(once) == test::VariablesOf(twice));
}

} // namespace zq::fuzz
