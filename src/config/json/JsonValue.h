// The tree that the module's own JSON reader builds (JsonReader.h).
//
// Portable. A root owns the memory of its whole tree; texts and keys without escapes point into the text that
// was read, which must outlive the tree.
#pragma once

#include "base/Arena.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

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

// The order of an object's keys. The library's comparison is a call, which takes longer than a few units.
inline bool IsKeyBefore(std::wstring_view a, std::wstring_view b) {
    const size_t common = a.size() < b.size() ? a.size() : b.size();
    for (size_t i = 0; i < common; ++i) {
        if (a[i] != b[i]) {
            return a[i] < b[i];
        }
    }
    return a.size() < b.size();
}

struct JsonRoot : JsonValue {
    Arena texts{Arena::Life::Short, alignof(wchar_t)};
    Arena keys{Arena::Life::Short, alignof(wchar_t)}; // those that may be freed while the document is read
    Arena nodes{Arena::Life::Short};
};

// Frees the tree below the root, however deep, and makes it null again.
void FreeJsonValue(JsonRoot& root);

// A tree on its last reading: its containers are freed one by one, and what is left of it at the end. Keys
// and texts stay as long as the root is, which itself is null from the beginning.
class JsonLastReading {
public:
    // Raises std::bad_alloc, and has changed nothing then.
    explicit JsonLastReading(JsonRoot& root)
        : m_nodes(root.nodes), m_root(std::exchange(static_cast<JsonValue&>(root), JsonValue())) {}

    const JsonValue& Root() const { return m_root; }

    // Frees the elements or members of a container of the tree, but not those of the containers among them.
    // REQUIRES: that was not done before.
    void Free(std::span<const JsonValue> elements) noexcept {
        m_nodes.GiveBack(elements.data(), elements.size_bytes());
    }
    void Free(std::span<const JsonMember> members) noexcept {
        m_nodes.GiveBack(members.data(), members.size_bytes());
    }

private:
    Arena::Release m_nodes;
    JsonValue m_root;
};

// The text of a string, the empty text for a node of another kind.
std::wstring_view GetJsonString(const JsonValue& value);

} // namespace zq
