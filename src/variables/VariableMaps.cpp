#include "variables/VariableMaps.h"

#include "CZQVariable.h"
#include "variables/BatchWrite.h"

#include <new>

namespace zq {

void VariableMaps::Apply(const VariableBatch& batch) { BatchWrite(batch, hashSeed).ApplyTo(*this); }

void VariableMaps::Reserve(const PacketCounts& counts) noexcept {
    const auto reserve = [&counts](auto& map, VariableType type) {
        if (counts[type].count != 0) {
            map.Reserve(counts[type]);
        }
    };
    try {
        reserve(bools, VariableTypeBool);
        reserve(integers, VariableTypeInt64);
        reserve(doubles, VariableTypeDouble);
        reserve(strings, VariableTypeString);
        reserve(binaries, VariableTypeBinary);
    } catch (const std::bad_alloc&) { // the tables grow with their entries then
    }
}

void VariableMaps::RemoveBinaries() noexcept {
    binaries.ForEach([](std::wstring_view, BinaryBlock* block) { BinaryBlock::Free(block); });
    binaries.Clear();
}

void VariableMaps::RemoveAll() noexcept {
    RemoveBinaries();
    strings.Clear();
    doubles.Clear();
    integers.Clear();
    bools.Clear();
    prefixes.Clear();
}

} // namespace zq
