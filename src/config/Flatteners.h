// The rules by which the tree of a configuration file becomes named variables; one walker a file.
//
// A name is the path of keys, joined by points. A whole number becomes an integer and a double variable of
// one name, a number with a point a double alone. Nothing is ever removed. Assignments are collected in order
// in a batch whose texts point into the tree. A trace, where one is given, hears of every node.
//
// Portable. Nesting costs heap, not stack. Whatever is invalid is logged and skipped.
#pragma once

#include "config/json/JsonValue.h"

#include <string_view>

namespace zq {

class FlattenTrace;
class HostLog;
class VariableBatch;

// Server settings: nested objects become dotted names; an array "CL" (any letter case) holds an object a
// headset, named by its "HD"; other arrays are ignored. Sets "HmdNameSize" and "HmdNameList.<n>".
void FlattenSettingsObject(std::wstring_view prefix, const JsonValue& object, VariableBatch& batch,
                           const HostLog& log, FlattenTrace* trace = nullptr);

// One response of the headset list: <prefix>.<MainRequest>.<SubRequest>.<index>, with ".ArraySize" and ".<n>"
// where the value is an array.
void FlattenHmdListItem(std::wstring_view prefix, const JsonValue& item, VariableBatch& batch,
                        const HostLog& log, FlattenTrace* trace = nullptr);

// Quality presets: the objects of an array become "CL.<key>.Quality", ".Balance", ".Performance" and ".Ultra"
// by place.
void FlattenQualityObject(std::wstring_view prefix, const JsonValue& object, VariableBatch& batch,
                          const HostLog& log, FlattenTrace* trace = nullptr);

} // namespace zq
