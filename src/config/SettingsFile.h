// The server settings file: nested objects become dotted names; an array "CL" (any letter case) holds an
// object for each headset, named by its "HD"; other arrays are ignored. Sets "HmdNameSize" and
// "HmdNameList.<n>".
//
// Portable. Nesting costs heap, not stack. Nothing is ever removed from the variables.
#pragma once

#include "config/json/JsonValue.h"

#include <string_view>

namespace zq {

class FlattenTrace;
class HostLog;
class VariableBatch;

// What of the document is read, for the reader (JsonRoleOf).
uint8_t SettingsRoleOf(uint8_t parent, bool isObject, std::wstring_view key);

// A root that is not an object gives no variables. As FlattenConfig otherwise.
void FlattenSettingsFile(const JsonValue& root, VariableBatch& batch, const HostLog& log, FlattenTrace* trace,
                         JsonLastReading* reading);

// The same of an object whose names start with `prefix` and a point, unless it is empty. REQUIRES: it is an
// object.
void FlattenSettingsObject(std::wstring_view prefix, const JsonValue& object, VariableBatch& batch,
                           const HostLog& log, FlattenTrace* trace = nullptr,
                           JsonLastReading* reading = nullptr);

} // namespace zq
