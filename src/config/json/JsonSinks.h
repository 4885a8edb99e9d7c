// What becomes of the containers that a reader comes across: a tree of what is read, and a check of what is
// not.
//
// Portable, one thread.
#pragma once

#include "config/json/JsonReader.h"
#include "config/json/JsonTreeBuilder.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zq {

// Builds what the file's flattener reads, and offers parts of it to a consumer, which may be null.
class JsonBuildingSink {
public:
    static constexpr bool kBuilds = true;

    JsonBuildingSink(JsonRoot& root, JsonRoleOf roleOf, JsonConsumer* consumer)
        : m_root(root), m_builder(root.nodes), m_roleOf(roleOf), m_consumer(consumer) {}

    bool IsInObject() const { return m_builder.IsInObject(); }
    // For the keys of the innermost container: those of the root are not freed before it.
    Arena& KeyMemory() { return m_consumer && m_builder.Depth() > 1 ? m_root.keys : m_root.texts; }
    void SetKey(std::wstring_view key) { m_builder.SetKey(key); }
    // Whether an element of the innermost container is read.
    bool IsRead(bool isObject) const { return isObject || (m_builder.Role() & kJsonObjectsOnly) == 0; }
    JsonValue& Add(std::wstring_view key) { return m_builder.Add(key); }

    // The role of a container that would be opened now.
    uint8_t NextRole(bool isObject) const {
        if (!m_roleOf) {
            return kJsonDocument;
        }
        return m_builder.Depth() == 0 ? m_roleOf(kJsonDocument, isObject, {})
                                      : m_roleOf(m_builder.Role(), isObject, m_builder.Key());
    }
    void Open(bool isObject) {
        const uint8_t role = NextRole(isObject);
        if (m_consumer && m_builder.Depth() < m_starts.size()) {
            m_starts[m_builder.Depth()] = {m_root.nodes.Here(), m_root.keys.Here(), isObject};
        }
        m_builder.Open(isObject, role);
    }
    // Returns whether that was the outermost container, which is then the result.
    bool Close() {
        m_result = m_builder.Close();
        const size_t depth = m_builder.Depth();
        if (depth == 0) {
            return true;
        }
        if (!m_consumer || depth >= m_starts.size() || !Offer(m_starts[depth])) {
            m_builder.Add(m_builder.Key()) = m_result;
        }
        return false;
    }
    const JsonValue& Result() const { return m_result; }

private:
    // Where the innermost container of a depth starts.
    struct Start {
        Arena::Place nodes;
        Arena::Place keys;
        bool isObject = false;
    };

    // Offers the container that has just been closed. Returns whether nothing of it is to be added.
    bool Offer(const Start& start) {
        const bool isSmall = m_root.nodes.IsInChunkOf(start.nodes) && m_root.keys.IsInChunkOf(start.keys);
        if (!isSmall || !IsTaken()) {
            return false;
        }
        m_root.nodes.ReturnTo(start.nodes);
        m_root.keys.ReturnTo(start.keys);
        m_result.count = 0;
        return m_builder.Depth() != 1;
    }

    bool IsTaken() {
        if (!m_starts[0].isObject) {
            return false;
        }
        if (m_builder.Depth() == 1) {
            return m_consumer->TakeMember(m_builder.Key(), m_result);
        }
        return !m_starts[1].isObject && m_consumer->TakeElement(m_builder.OuterKey(), m_result);
    }

    JsonRoot& m_root;
    JsonTreeBuilder m_builder;
    JsonRoleOf m_roleOf;
    JsonConsumer* m_consumer;
    std::array<Start, 3> m_starts; // of the root, of its members, and of the elements of those
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
