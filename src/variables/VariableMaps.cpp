#include "variables/VariableMaps.h"

#include "variables/BatchWrite.h"

namespace zq {

void VariableMaps::Apply(const VariableBatch& batch) { BatchWrite(batch, hashSeed).ApplyTo(*this); }

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
