// Walks through a settings document and collects its variables: a whole tree, or first what can be taken of
// it while it is read, which then never is in memory as a whole.
//
// Of a whole tree the variables come in the order of the keys, so that of two paths to one name the right one
// wins. What is taken comes in the order of the file. No name is met twice where no key has a point and no
// key of the root comes twice, so the order does not matter; IsInOrder() says whether that was so.
//
// Portable. Nesting costs heap, not stack.
#pragma once

#include "base/PagedStack.h"
#include "config/Flattening.h"
#include "config/json/JsonReader.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zq {

class HostLog;

bool IsHeaderListKey(std::wstring_view key);

class SettingsWalker final : public JsonConsumer {
public:
    // `batch` must outlive the object.
    explicit SettingsWalker(VariableBatch& batch) : m_batch(batch) {}

    // While the document is read. The header names, whose number depends on all others, follow in Walk.
    bool TakeMember(std::wstring_view key, const JsonValue& member) override;
    bool TakeElement(std::wstring_view key, const JsonValue& element) override;
    // Whether the variables of what was taken are those that a walk through the whole tree would give.
    // Otherwise the batch is worth nothing, and the document has to be read again. `root` is what is left.
    bool IsInOrder(const JsonValue& root) const;

    // Collects the variables of what was not taken, and the header names, of which it logs each. Names start
    // with `prefix`. `trace` hears of every node. Without it, `reading` may be that of the tree: its
    // containers are freed as they are done with. Called once. REQUIRES: the root is an object.
    void Walk(std::wstring_view prefix, const JsonValue& root, const HostLog& log, FlattenTrace* trace,
              JsonLastReading* reading);

private:
    // One object on the way down, and how far it was visited. Small: there may be one for ten bytes of a
    // file.
    struct Level {
        const JsonMember* members;
        uint32_t count;
        uint32_t next;             // member
        uint32_t nameLength;       // characters
        uint32_t firstName;        // of those headers that are in lists of this object
        const BatchPrefix* prefix; // that the names of its members share
    };

    // A header list under way: the member before the next one of its level.
    struct HeaderList {
        size_t depth; // of its level
        const JsonValue* headers;
        uint32_t count;
        uint32_t next;
    };

    bool IsInList() const { return m_lists.Size() != 0 && m_lists.Top().depth == m_levels.Size(); }
    bool IsOver(const Level& level) const;
    void Enter(const JsonValue& object);
    void Leave();
    void VisitAll();
    void VisitMembers();
    void VisitHeader();
    void TakeObject(const JsonValue& object);

    void AddHeaderName(const JsonValue& name);
    void PublishHeaderNames(size_t first);
    void PublishHeaderName(uint32_t number, std::wstring_view name);

    template <class Container>
    void Free(Container container) {
        if (m_reading) {
            m_reading->Free(container);
        }
    }

    NameBuffer m_name;
    VariableBatch& m_batch;
    const HostLog* m_log = nullptr; // null while the document is read
    FlattenTrace* m_trace = nullptr;
    JsonLastReading* m_reading = nullptr;
    PagedStack<Level, 128> m_levels;
    PagedStack<HeaderList, 32> m_lists;
    PagedStack<std::wstring_view, 256> m_names; // of headers, those of the innermost level last
    std::vector<const JsonValue*> m_nameNodes;  // where they stand, for the trace
    const BatchPrefix* m_listPrefix = nullptr;
    NameBuffer m_listName; // of the variable that holds a header's name
    NameBuffer m_headerName;

    bool m_isInOrder = true;
    size_t m_takenMembers = 0;
    std::wstring_view m_takenList; // the key of the list whose elements were taken
};

} // namespace zq
