// What a batch or a packet is about to write into one map, so that the map makes room for it at once.
#pragma once

#include <cstddef>

namespace zq {

struct ExpectedEntries {
    size_t count = 0;
    size_t nameUnits = 0; // of all names, without the prefixes that maps share

    bool operator==(const ExpectedEntries&) const = default;
    ExpectedEntries operator+(const ExpectedEntries& other) const {
        return {count + other.count, nameUnits + other.nameUnits};
    }
};

} // namespace zq
