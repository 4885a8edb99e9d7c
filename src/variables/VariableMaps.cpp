#include "variables/VariableMaps.h"

#include "CZQVariable.h"
#include "variables/BatchWrite.h"

#include <new>
#include <utility>

namespace zq {

void VariableMaps::Apply(const VariableBatch& batch) { BatchWrite(batch).ApplyTo(*this); }
void VariableMaps::Apply(VariableBatch&& batch) { BatchWrite(std::move(batch)).ApplyTo(*this); }

void VariableMaps::Reserve(const PacketCounts& counts) noexcept {
    const auto reserve = [](auto& map, const ExpectedEntries& expected) {
        if (expected.count != 0) {
            map.Reserve(expected);
        }
    };
    try {
        reserve(bools, counts[VariableTypeBool]);
        reserve(numbers, counts[VariableTypeInt64] + counts[VariableTypeDouble]);
        reserve(strings, counts[VariableTypeString]);
        reserve(binaries, counts[VariableTypeBinary]);
    } catch (const std::bad_alloc&) { // the tables grow with their entries then
    }
}

void VariableMaps::RemoveBinaries() noexcept {
    binaries.ForEachNode([](const auto&, BinaryBlock* block) { BinaryBlock::Free(block); });
    binaries.Clear();
}

void VariableMaps::RemoveAll() noexcept {
    RemoveBinaries();
    strings.Clear();
    numbers.Clear();
    bools.Clear();
    prefixes.Clear();
}

} // namespace zq
