// Where everything of a document stands: the tokens as the reader came across them, and the way from the
// nodes of its tree back to them.
//
// Portable.
#pragma once

#include "config/json/JsonTrace.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zq {

// One value of the document, a member whose key comes once more included. Places are units of the text.
struct DocumentNode {
    static constexpr int32_t kNone = -1;

    JsonKind kind = JsonKind::Null;
    int32_t begin = 0;
    int32_t end = kNone; // of a container that the text does not close
    int32_t parent = kNone;
    int32_t keyBegin = kNone;
    int32_t keyEnd = kNone;
    std::wstring_view key;
    std::vector<int32_t> children; // in document order

    bool HasKey() const { return keyBegin != kNone; }
    // A member is found by its key, everything else by itself.
    int32_t Place() const { return HasKey() ? keyBegin : begin; }
    int32_t PlaceEnd() const { return HasKey() ? keyEnd : end; }
};

struct DocumentFault {
    int32_t place;
    JsonFault fault;
};

class DocumentMap final : public JsonTrace {
public:
    // Reads `text`, which must outlive the map, into `root`. Called once; `result` is of ParseJsonValue.
    void Read(JsonRoot& root, std::wstring_view text);
    int32_t Result() const { return m_result; }

    const std::vector<DocumentNode>& Nodes() const { return m_nodes; } // parents before children
    const std::vector<int32_t>& MissingCommas() const { return m_missingCommas; }
    const std::vector<int32_t>& TrailingCommas() const { return m_trailingCommas; }
    const std::optional<DocumentFault>& Fault() const { return m_fault; }
    // The innermost container that was open at the fault.
    int32_t OpenAtFault() const { return m_open.empty() ? DocumentNode::kNone : m_open.back(); }

    // The name, in its key fields, behind which the text went wrong before a value began.
    const DocumentNode& UnfinishedName() const { return m_pendingKey; }

    // The node that a value of the tree was read from. Of keys that come more than once, the last.
    const DocumentNode& NodeOf(const JsonValue& value) const;

private:
    void OnOpen(int32_t place, bool isObject) override;
    void OnClose(int32_t end) override;
    void OnKey(int32_t place, int32_t end, std::wstring_view key) override;
    void OnScalar(int32_t place, int32_t end, const JsonValue& value) override;
    void OnMissingComma(int32_t place) override { m_missingCommas.push_back(place); }
    void OnTrailingComma(int32_t place) override { m_trailingCommas.push_back(place); }
    void OnFault(int32_t place, JsonFault fault) override { m_fault = {place, fault}; }

    int32_t Add(JsonKind kind, int32_t begin, int32_t end);
    void Link(const JsonValue& root);
    void LinkChildren(const JsonValue& value, int32_t node,
                      std::vector<std::pair<const JsonValue*, int32_t>>& next);

    std::wstring_view m_text;
    std::deque<std::wstring> m_keys;
    std::vector<DocumentNode> m_nodes;
    std::vector<int32_t> m_open;
    std::vector<int32_t> m_missingCommas;
    std::vector<int32_t> m_trailingCommas;
    std::optional<DocumentFault> m_fault;
    DocumentNode m_pendingKey; // its key fields only, for the next node
    std::unordered_map<const JsonValue*, int32_t> m_nodeOf;
    int32_t m_result = 0;
};

} // namespace zq
