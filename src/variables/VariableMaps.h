// The maps of the variable store, with a name space for each of the five types, and the operations on them
// that need no lock of their own.
//
// Portable. The owner serialises: under Windows that is VariableStore with its mutex.
#pragma once

#include "variables/BinaryBlock.h"
#include "variables/NamePrefix.h"
#include "variables/NumberMap.h"
#include "variables/StoredText.h"
#include "variables/VariableMap.h"
#include "variables/VariablePacket.h"

#include <cstdint>
#include <string_view>

namespace zq {

class VariableBatch;

struct VariableMaps {
    // Writes a whole batch in its order, or, when memory runs out (std::bad_alloc), nothing of it.
    void Apply(const VariableBatch& batch);
    // The same, and frees the memory of the batch while it does.
    void Apply(VariableBatch&& batch);

    // Makes the tables large enough for so many variables of each type code, as far as memory allows.
    void Reserve(const PacketCounts& counts) noexcept;

    // Frees the binary blocks and empties the binary map. The maps' destructor frees no block: whoever ends
    // the maps' life calls this before, or leaves the blocks to the end of the process.
    void RemoveBinaries() noexcept;

    // Empties all maps.
    void RemoveAll() noexcept;

    NumberMap::Half<int64_t> Integers() const { return numbers.Integers(); }
    NumberMap::Half<double> Doubles() const { return numbers.Doubles(); }

    NamePrefixes prefixes; // of the names of batches
    VariableMap<uint8_t> bools;
    NumberMap numbers;
    VariableMap<BinaryBlock*> binaries;
    VariableMap<StoredText> strings;
};

} // namespace zq
