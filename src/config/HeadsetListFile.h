// The headset list file: an array of devices, each with the responses to numbered requests. A response
// becomes CL.<DeviceName>.<MainRequest>.<SubRequest>.<index>, with ".ArraySize" and ".<n>" where its value is
// an array.
//
// Portable. Whatever is invalid is logged and skipped. Nothing is ever removed from the variables.
#pragma once

#include "config/json/JsonValue.h"

#include <string_view>

namespace zq {

class FlattenTrace;
class HostLog;
class NameBuffer;
class VariableBatch;

// What of the document is read, for the reader (JsonRoleOf).
uint8_t HeadsetListRoleOf(uint8_t parent, bool isObject, std::wstring_view key);

bool IsHeadsetListRoot(const JsonValue& root);

// Returns false, with a message, when the root is not a headset list.
bool FlattenHeadsetListFile(const JsonValue& root, VariableBatch& batch, const HostLog& log,
                            FlattenTrace* trace);

// One response. `prefix` is "CL." and the device's name; it is extended for a moment and is the same
// afterwards.
void FlattenHmdListItem(NameBuffer& prefix, const JsonValue& item, VariableBatch& batch, const HostLog& log,
                        FlattenTrace* trace = nullptr);

} // namespace zq
