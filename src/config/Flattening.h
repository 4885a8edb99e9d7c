// What the flatteners of the three files share: which map a scalar goes to.
//
// Portable.
#pragma once

#include "base/NameBuffer.h"
#include "config/FlattenTrace.h"
#include "config/json/JsonValue.h"
#include "variables/VariableBatch.h"

namespace zq {

// Adds the variables of a scalar; returns false, and adds nothing, for null and for containers.
bool AddScalar(const BatchName& name, const JsonValue& value, VariableBatch& batch, FlattenTrace* trace);

} // namespace zq
