// What a reading of a document can report besides the tree: where each token is, what a stricter reader
// would not take, and the reason of a failure.
//
// Portable. Offsets are UTF-16 units from the start of the text that was read. Calls come in document order,
// on the reading thread; keys and texts are valid as long as the tree is.
#pragma once

#include "config/json/JsonValue.h"

#include <cstdint>
#include <string_view>

namespace zq {

enum class JsonFault {
    Empty,        // nothing but white space
    NoValue,      // a unit that cannot start a value
    NeverClosed,  // no closing brace or bracket follows at all
    Unfinished,   // the text ends inside a container
    NoKey,        // in an object, and no quote follows any more
    NoColon,      // after a key
    SecondPoint,  // in a number
    NumberAtEnd,  // a number needs a unit after it
    WrongLiteral, // begins like true, false or null
};

class JsonTrace {
public:
    virtual ~JsonTrace() = default;

    virtual void OnOpen(int32_t offset, bool isObject) = 0;
    virtual void OnClose(int32_t end) = 0;
    // `offset` is that of the unit that was taken for the opening quote.
    virtual void OnKey(int32_t offset, int32_t end, std::wstring_view key) = 0;
    virtual void OnScalar(int32_t offset, int32_t end, const JsonValue& value) = 0;
    // `offset` is where the comma should stand.
    virtual void OnMissingComma(int32_t offset) = 0;
    // A comma in front of a closing brace or bracket.
    virtual void OnTrailingComma(int32_t offset) = 0;
    // Nothing is reported after it.
    virtual void OnFault(int32_t offset, JsonFault fault) = 0;
};

} // namespace zq
