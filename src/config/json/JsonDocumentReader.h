// Reads a document from its first unit on: white space, then a container or a scalar.
//
// Portable. A template, as JsonContainerReader is.
#pragma once

#include "config/json/JsonContainerReader.h"
#include "config/json/JsonText.h"
#include "config/json/JsonTrace.h"

#include <cstdint>

namespace zq {

template <class Text, class Trace>
int32_t ReadJsonRootScalar(JsonRoot& root, JsonValue& value, const Text& text, const Trace& trace) {
    const int32_t count = ReadJsonScalar(value, root.texts, text, 0);
    if (count >= 1) {
        trace.OnScalar(0, count, value);
    } else if constexpr (Trace::kReports) {
        trace.OnFault(0, JsonScalarFault(text.text, text.length));
    }
    return count;
}

// How the containers of a document are read.
struct JsonReading {
    JsonRoleOf roleOf = nullptr;
    JsonConsumer* consumer = nullptr;
};

// Reads the value at the front of the text.
template <class Text, class Trace>
int32_t ReadJsonValue(JsonRoot& root, const Text& text, const Trace& trace, const JsonReading& reading) {
    JsonValue value;
    JsonBuildingSink sink(root, reading.roleOf, reading.consumer);
    const int32_t count = IsContainer(JsonStartOf(text.text[0]))
                              ? JsonContainerReader<Text, Trace>(root, sink, text, trace).ReadRoot(value)
                              : ReadJsonRootScalar(root, value, text, trace);
    if (count < 1) {
        FreeJsonValue(root);
    } else {
        static_cast<JsonValue&>(root) = value;
    }
    return count;
}

// Reads the value after `space` units of white space.
template <class Text, class Trace>
int32_t ReadJsonAfterSpace(JsonRoot& root, Text text, int32_t space, const Trace& trace,
                           const JsonReading& reading) {
    if (space == text.length || JsonStartOf(text.text[space]) == JsonStart::None) {
        trace.OnFault(0, space == text.length ? JsonFault::Empty : JsonFault::NoValue);
        return -(space + 1);
    }
    text.text += space;
    text.length -= space;
    const int32_t count = ReadJsonValue(root, text, trace, reading);
    return count < 1 ? count : count + space;
}

} // namespace zq
