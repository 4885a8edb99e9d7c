#include "check/DocumentMap.h"

#include "config/json/JsonReader.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace zq {

void DocumentMap::Read(JsonRoot& root, std::wstring_view text) {
    m_text = text;
    m_result = ParseJsonValue(root, text.data(), static_cast<int32_t>(text.size()), *this);
    if (m_result >= 1) {
        Link(root);
    }
}

const DocumentNode& DocumentMap::NodeOf(const JsonValue& value) const {
    return m_nodes[static_cast<size_t>(m_nodeOf.at(&value))];
}

void DocumentMap::MapOffsets(const EditedText& edited) {
    const auto map = [&edited](int32_t& offset) {
        if (offset != DocumentNode::kNone) {
            offset = edited.OriginalOffset(offset);
        }
    };
    for (DocumentNode& node : m_nodes) {
        for (int32_t* const offset : {&node.begin, &node.end, &node.keyBegin, &node.keyEnd}) {
            map(*offset);
        }
        node.end = std::max(node.end, node.begin);
        node.keyEnd = std::max(node.keyEnd, node.keyBegin);
    }
    for (std::vector<int32_t>* const commas : {&m_missingCommas, &m_trailingCommas}) {
        std::for_each(commas->begin(), commas->end(), map);
    }
}

int32_t DocumentMap::Add(JsonKind kind, int32_t begin, int32_t end) {
    const auto index = static_cast<int32_t>(m_nodes.size());
    DocumentNode& node = m_nodes.emplace_back(std::exchange(m_pendingKey, {}));
    node.kind = kind;
    node.begin = begin;
    node.end = end;
    if (!m_open.empty()) {
        node.parent = m_open.back();
        m_nodes[static_cast<size_t>(node.parent)].children.push_back(index);
    }
    return index;
}

void DocumentMap::OnOpen(int32_t offset, bool isObject) {
    m_open.push_back(Add(isObject ? JsonKind::Object : JsonKind::Array, offset, DocumentNode::kNone));
}

void DocumentMap::OnClose(int32_t end) {
    m_nodes[static_cast<size_t>(m_open.back())].end = end;
    m_open.pop_back();
}

void DocumentMap::OnKey(int32_t offset, int32_t end, std::wstring_view key) {
    m_pendingKey.keyBegin = offset;
    m_pendingKey.keyEnd = end;
    // A failure frees the tree, and the keys that escapes have changed with it.
    const bool isInText = std::less_equal<>()(m_text.data(), key.data()) &&
                          std::less_equal<>()(key.data() + key.size(), m_text.data() + m_text.size());
    m_pendingKey.key = isInText ? key : std::wstring_view(m_keys.emplace_back(key));
}

void DocumentMap::OnScalar(int32_t offset, int32_t end, const JsonValue& value) {
    Add(value.kind, offset, end);
}

// The tree keeps arrays in document order, and of an object's members the last of each key, by key.
void DocumentMap::LinkChildren(const JsonValue& value, int32_t node,
                               std::vector<std::pair<const JsonValue*, int32_t>>& next) {
    std::vector<int32_t> children = m_nodes[static_cast<size_t>(node)].children;
    size_t nextChild = 0;
    for (const JsonValue& element : value.Elements()) {
        next.emplace_back(&element, children[nextChild++]);
    }
    if (!value.Is(JsonKind::Object)) {
        return;
    }
    const auto keyOf = [this](int32_t child) { return m_nodes[static_cast<size_t>(child)].key; };
    std::stable_sort(children.begin(), children.end(),
                     [&](int32_t a, int32_t b) { return keyOf(a) < keyOf(b); });
    for (const JsonMember& member : value.Members()) {
        const auto after =
            std::upper_bound(children.begin(), children.end(), member.key,
                             [&](std::wstring_view key, int32_t child) { return key < keyOf(child); });
        next.emplace_back(&member.value, *(after - 1));
    }
}

void DocumentMap::Link(const JsonValue& root) {
    std::vector<std::pair<const JsonValue*, int32_t>> next = {{&root, 0}};
    while (!next.empty()) {
        const auto [value, node] = next.back();
        next.pop_back();
        m_nodeOf.emplace(value, node);
        LinkChildren(*value, node, next);
    }
}

} // namespace zq
