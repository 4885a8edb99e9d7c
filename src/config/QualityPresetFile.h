// The quality preset file: the objects of an array become "CL.<key>.Quality", ".Balance", ".Performance" and
// ".Ultra" by position; scalars at the top are named by their key.
//
// Portable. Nesting costs heap, not stack. Whatever is invalid is logged and skipped. Nothing is ever removed
// from the variables.
#pragma once

#include "config/json/JsonValue.h"

#include <string_view>

namespace zq {

class FlattenTrace;
class HostLog;
class VariableBatch;

// What of the document is read, for the reader (JsonRoleOf).
uint8_t QualityRoleOf(uint8_t parent, bool isObject, std::wstring_view key);

// A root that is not an object gives no variables. As FlattenConfig otherwise.
void FlattenQualityFile(const JsonValue& root, VariableBatch& batch, const HostLog& log, FlattenTrace* trace,
                        JsonLastReading* reading);

// Scalars are named by `prefix`, a point and their key; without the point where the prefix is empty.
void FlattenQualityObject(std::wstring_view prefix, const JsonValue& object, VariableBatch& batch,
                          const HostLog& log, FlattenTrace* trace = nullptr,
                          JsonLastReading* reading = nullptr);

} // namespace zq
