// The tree that the module's own JSON reader builds (JsonReader.h).
//
// Portable. A root owns the memory of its whole tree; texts and keys without escapes point into the text that
// was read, which must outlive the tree.
#pragma once

#include "base/Arena.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace zq {

enum class JsonKind : uint32_t {
    Null = 0,
    Bool = 1,
    Integer = 2,
    Double = 3,
    String = 4,
    Array = 5,
    Object = 6
};

struct JsonMember;

struct JsonValue {
    JsonKind kind = JsonKind::Null;
    uint32_t count = 0; // units of a string, elements of an array, members of an object
    union {
        uint8_t boolean; // 1 for true, 0 for false
        int64_t integer = 0;
        double real;
        const wchar_t* text;
        const JsonValue* elements;
        const JsonMember* members;
    };

    bool Is(JsonKind wanted) const { return kind == wanted; }

    // In document order; none for a node of another kind.
    std::span<const JsonValue> Elements() const;
    // In ascending order of the keys' units, each key once; none for a node of another kind.
    std::span<const JsonMember> Members() const;
    // The value of the member with exactly this key, or null.
    const JsonValue* Member(std::wstring_view key) const;
};

struct JsonMember {
    std::wstring_view key;
    JsonValue value;
};

struct JsonRoot : JsonValue {
    Arena texts{Arena::Life::Short, alignof(wchar_t)};
    Arena nodes{Arena::Life::Short};
};

// Frees the tree below the root, however deep, and makes it null again.
void FreeJsonValue(JsonRoot& root);

// The same, but keys and texts stay as long as the root is.
void FreeJsonNodes(JsonRoot& root);

// The text of a string, the empty text for a node of another kind.
std::wstring_view GetJsonString(const JsonValue& value);

} // namespace zq
