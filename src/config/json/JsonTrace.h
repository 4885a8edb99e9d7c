// What a reading of a document can tell besides the tree: where each token stands, what a stricter reader
// would not take, and the reason of a failure.
//
// Portable. Places are UTF-16 units from the start of the text that was read. Calls come in document order,
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
    NoColon,      // behind a key
    SecondPoint,  // in a number
    NumberAtEnd,  // a number needs a unit behind it
    WrongLiteral, // begins like true, false or null
};

class JsonTrace {
public:
    virtual ~JsonTrace() = default;

    virtual void OnOpen(int32_t place, bool isObject) = 0;
    virtual void OnClose(int32_t end) = 0;
    // `place` is that of the unit that was taken for the opening quote.
    virtual void OnKey(int32_t place, int32_t end, std::wstring_view key) = 0;
    virtual void OnScalar(int32_t place, int32_t end, const JsonValue& value) = 0;
    // `place` is where the comma should stand.
    virtual void OnMissingComma(int32_t place) = 0;
    // A comma in front of a closing brace or bracket.
    virtual void OnTrailingComma(int32_t place) = 0;
    // Nothing comes behind it.
    virtual void OnFault(int32_t place, JsonFault fault) = 0;
};

} // namespace zq
