#include "config/Flattening.h"

namespace zq {

namespace {

bool AddScalarVariable(const BatchName& name, const JsonValue& value, VariableBatch& batch) {
    switch (value.kind) {
    case JsonKind::Bool:
        batch.AddBool(name, value.boolean);
        return true;
    case JsonKind::Integer:
        batch.AddNumber(name, value.integer);
        return true;
    case JsonKind::Double:
        batch.AddDouble(name, value.real);
        return true;
    case JsonKind::String:
        batch.AddString(name, GetJsonString(value));
        return true;
    default:
        return false;
    }
}

} // namespace

bool AddScalar(const BatchName& name, const JsonValue& value, VariableBatch& batch, FlattenTrace* trace) {
    if (!AddScalarVariable(name, value, batch)) {
        return false;
    }
    ReportAdded(trace, value);
    return true;
}

} // namespace zq
