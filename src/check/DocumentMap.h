// The location of everything in a document: its tokens as the reader found them, and a map from the nodes of
// its tree back to the tokens.
//
// Portable.
#pragma once

#include "check/TextEdit.h"
#include "config/json/JsonTrace.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zq {

// One value of the document, including a member whose key occurs again later. Offsets are units of the text.
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
    // A member is shown at its key, everything else at itself.
    int32_t Offset() const { return HasKey() ? keyBegin : begin; }
    int32_t OffsetEnd() const { return HasKey() ? keyEnd : end; }
};

class DocumentMap final : public JsonTrace {
public:
    // Reads `text`, which must outlive the map, into `root`. Called once; `result` is of ParseJsonValue.
    void Read(JsonRoot& root, std::wstring_view text);
    int32_t Result() const { return m_result; }

    const std::vector<DocumentNode>& Nodes() const { return m_nodes; } // parents before children
    const std::vector<int32_t>& MissingCommas() const { return m_missingCommas; }
    const std::vector<int32_t>& TrailingCommas() const { return m_trailingCommas; }
    // The offset at which reading failed.
    const std::optional<int32_t>& Fault() const { return m_fault; }

    // Of a text that was edited before it was read: makes all offsets those of the original.
    void MapOffsets(const EditedText& edited);

    // Returns the node that a value of the tree was read from; for a key that occurs more than once, the last
    // one.
    const DocumentNode& NodeOf(const JsonValue& value) const;

private:
    void OnOpen(int32_t offset, bool isObject) override;
    void OnClose(int32_t end) override;
    void OnKey(int32_t offset, int32_t end, std::wstring_view key) override;
    void OnScalar(int32_t offset, int32_t end, const JsonValue& value) override;
    void OnMissingComma(int32_t offset) override { m_missingCommas.push_back(offset); }
    void OnTrailingComma(int32_t offset) override { m_trailingCommas.push_back(offset); }
    void OnFault(int32_t offset, JsonFault) override { m_fault = offset; }

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
    std::optional<int32_t> m_fault;
    DocumentNode m_pendingKey; // its key fields only, for the next node
    std::unordered_map<const JsonValue*, int32_t> m_nodeOf;
    int32_t m_result = 0;
};

} // namespace zq
