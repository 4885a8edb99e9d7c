// What a batch or a packet is about to write into one map, so that the map makes room for it at once.
#pragma once

#include <cstddef>

namespace zq {

struct ExpectedEntries {
    size_t count = 0;
    size_t bytes = 0; // of their names, without the prefixes that maps share, and of texts kept in nodes

    bool operator==(const ExpectedEntries&) const = default;
    ExpectedEntries operator+(const ExpectedEntries& other) const {
        return {count + other.count, bytes + other.bytes};
    }
};

} // namespace zq
