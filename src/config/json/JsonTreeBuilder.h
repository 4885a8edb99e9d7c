// Collects the elements of the containers that a reader has open, and lays each out in the arena when it
// closes.
//
// Portable, one thread.
#pragma once

#include "base/PagedStack.h"
#include "base/SameText.h"
#include "config/json/JsonValue.h"

#include <memory>
#include <string_view>

namespace zq {

class JsonTreeBuilder {
public:
    explicit JsonTreeBuilder(Arena& arena) : m_arena(arena) {}

    // `role` is the reader's, to be asked for while the container is the innermost one.
    void Open(bool isObject, uint8_t role);
    // The key of the container that is opened next.
    void SetKey(std::wstring_view key) { m_key = key; }
    // Adds a null, which is to be made the value of that key, and an element of an array without one. It
    // lasts until the next call. What is written piece by piece is slow to copy, so values are read in place.
    JsonValue& Add(std::wstring_view key) {
        if (IsInObject() && m_members.Size() > m_open.Top().first && IsSameText(m_members.Top().key, key)) {
            m_members.CutTo(m_members.Size() - 1); // of equal keys the last one counts
        }
        JsonMember& member = m_members.Extend();
        std::construct_at(&member.key, key);
        return *std::construct_at(&member.value);
    }
    // Closes the innermost container and returns it. It is no member of the one around it until it is added
    // under Key().
    JsonValue Close();

    size_t Depth() const { return m_open.Size(); }
    bool IsInObject() const { return m_open.Top().isObject; }
    uint8_t Role() const { return m_open.Top().role; }
    std::wstring_view Key() const { return m_key; }
    // The key of the innermost container.
    std::wstring_view OuterKey() const { return m_open.Top().key; }

private:
    struct OpenContainer {
        std::wstring_view key; // under which the container will be added
        size_t first;          // its first member
        bool isObject;
        uint8_t role;
    };

    JsonValue MakeArray(size_t first);
    JsonValue MakeObject(size_t first);

    Arena& m_arena;
    std::wstring_view m_key;
    PagedStack<OpenContainer, 128> m_open;
    PagedStack<JsonMember, 512> m_members; // of all open containers, innermost last
};

} // namespace zq
