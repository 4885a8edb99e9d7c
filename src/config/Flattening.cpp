#include "config/Flattening.h"

#include <array>
#include <cstring>

namespace zq {

namespace {

bool IsScalar(JsonKind kind) { return kind >= JsonKind::Bool && kind <= JsonKind::String; }

// REQUIRES: it is the kind of a scalar.
BatchKind BatchKindOf(JsonKind kind) {
    static constexpr std::array kKinds = {BatchKind::Bool, BatchKind::Bool, BatchKind::Number,
                                          BatchKind::Double, BatchKind::String};
    static_assert(static_cast<size_t>(JsonKind::Bool) == 1 && static_cast<size_t>(JsonKind::Integer) == 2 &&
                  static_cast<size_t>(JsonKind::Double) == 3 && static_cast<size_t>(JsonKind::String) == 4);
    return kKinds[static_cast<size_t>(kind)];
}

} // namespace

// Without a branch for each kind: which of them comes next is not to be foreseen.
bool AddScalar(const BatchName& name, const JsonValue& value, VariableBatch& batch, FlattenTrace* trace) {
    if (!IsScalar(value.kind)) {
        return false;
    }
    BatchValue bits{0, value.count};
    std::memcpy(&bits.bits, &value.integer, sizeof(bits.bits)); // whichever of them it is
    batch.Add(BatchKindOf(value.kind), name, bits);
    ReportAdded(trace, value);
    return true;
}

} // namespace zq
