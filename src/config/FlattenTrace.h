// What flattening a document can report besides its variables: the node that gave each, and the nodes that
// gave none.
//
// Portable.
#pragma once

#include "config/json/JsonValue.h"

namespace zq {

enum class Skipped {
    EmptyName,       // a member without a name
    Null,            // in the settings
    IgnoredArray,    // in the settings, any but the header list
    Header,          // an element of the header list that is no object with a text "HD"
    Device,          // an element of the headset list without a text "DeviceName" or a list "Response"
    Response,        // an element of "Response" that is no object
    ResponseNumbers, // a response without whole numbers "MainRequest", "SubRequest", "index", or without
                     // "Value"
    ResponseValue,   // a "Value", or an element of one, that is no scalar
    Preset,          // an element of a list of presets that is no object
    PresetMember,    // an object or null among presets
};

class FlattenTrace {
public:
    virtual ~FlattenTrace() = default;

    // Called after the variables of a node were added: they are the newest of the batch.
    virtual void OnAdded(const JsonValue& value) = 0;
    virtual void OnSkipped(const JsonValue& value, Skipped reason) = 0;
};

inline void ReportAdded(FlattenTrace* trace, const JsonValue& value) {
    if (trace) {
        trace->OnAdded(value);
    }
}

inline void ReportSkipped(FlattenTrace* trace, const JsonValue& value, Skipped reason) {
    if (trace) {
        trace->OnSkipped(value, reason);
    }
}

} // namespace zq
