// What becomes of the containers that a reader comes across: a tree of what is read, and a check of what is
// not.
//
// Portable, one thread.
#pragma once

#include "config/json/JsonReader.h"
#include "config/json/JsonTreeBuilder.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zq {

// Builds what the file's flattener reads.
class JsonBuildingSink {
public:
    static constexpr bool kBuilds = true;

    JsonBuildingSink(Arena& arena, JsonRoleOf roleOf) : m_builder(arena), m_roleOf(roleOf) {}

    bool IsInObject() const { return m_builder.IsInObject(); }
    void SetKey(std::wstring_view key) { m_builder.SetKey(key); }
    // Whether an element of the innermost container is read.
    bool IsRead(bool isObject) const { return isObject || (m_builder.Role() & kJsonObjectsOnly) == 0; }
    void Add(const JsonValue& value) { m_builder.Add(value); }

    // The role of a container that would be opened now.
    uint8_t NextRole(bool isObject) const {
        if (!m_roleOf) {
            return kJsonDocument;
        }
        return m_builder.Depth() == 0 ? m_roleOf(kJsonDocument, isObject, {})
                                      : m_roleOf(m_builder.Role(), isObject, m_builder.Key());
    }
    void Open(bool isObject) { m_builder.Open(isObject, NextRole(isObject)); }
    // Returns whether that was the outermost container, which is then the result.
    bool Close() {
        m_result = m_builder.Close();
        if (m_builder.Depth() == 0) {
            return true;
        }
        m_builder.Add(m_result);
        return false;
    }
    const JsonValue& Result() const { return m_result; }

private:
    JsonTreeBuilder m_builder;
    JsonRoleOf m_roleOf;
    JsonValue m_result;
};

// Checks a container that nobody reads, with a bit for each open one.
class JsonSkippingSink {
public:
    static constexpr bool kBuilds = false;

    bool IsInObject() const { return m_isObject; }
    void Open(bool isObject) {
        if (m_depth++ != 0) {
            m_outer.push_back(m_isObject);
        }
        m_isObject = isObject;
    }
    bool Close() {
        if (--m_depth == 0) {
            return true;
        }
        m_isObject = m_outer.back();
        m_outer.pop_back();
        return false;
    }

private:
    bool m_isObject = false;
    size_t m_depth = 0;
    std::vector<bool> m_outer;
};

} // namespace zq
