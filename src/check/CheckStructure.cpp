#include "check/Checks.h"
#include "check/NearestName.h"
#include "check/Quote.h"

#include <algorithm>
#include <map>

namespace zq {

namespace {

void CheckCommas(const DocumentMap& document, Problems& problems) {
    for (const int32_t place : document.MissingCommas()) {
        AddWarning(problems, "missing-comma", place, place + 1, "a comma is missing in front of this",
                   "write one: the module does without, other JSON readers do not");
    }
    for (const int32_t place : document.TrailingCommas()) {
        AddWarning(problems, "trailing-comma", place, place + 1,
                   "a comma stands in front of the closing bracket",
                   "take it away; other JSON readers refuse it");
    }
}

using NodesByKey = std::map<std::wstring_view, const DocumentNode*>;

NodesByKey LastMembers(const DocumentMap& document, const DocumentNode& object) {
    NodesByKey last;
    for (const int32_t child : object.children) {
        const DocumentNode& member = document.Nodes()[static_cast<size_t>(child)];
        last[member.key] = &member;
    }
    return last;
}

void CheckDuplicates(const SourceText& source, const DocumentMap& document, const DocumentNode& object,
                     Problems& problems) {
    const NodesByKey last = LastMembers(document, object);
    if (last.size() == object.children.size()) {
        return;
    }
    for (const int32_t child : object.children) {
        const DocumentNode& member = document.Nodes()[static_cast<size_t>(child)];
        const DocumentNode& winner = *last.at(member.key);
        if (&winner != &member) {
            const TextPosition place = source.PositionOf(winner.keyBegin);
            AddWarning(problems, "duplicate-key", member.keyBegin, member.keyEnd,
                       Quoted(member.key) + " comes again in line " + std::to_string(place.line) +
                           ", and only the last one counts",
                       "take one of them away");
        }
    }
}

// What a key that is not known was meant for; keys come again in every element of a list.
class Meanings {
public:
    explicit Meanings(const KnownKeys& known) : m_known(known) {}

    // Null where no known key is near.
    const std::wstring* Of(std::wstring_view key) {
        const auto [place, isNew] = m_meant.try_emplace(key, nullptr);
        if (isNew && !key.empty() && !m_known.contains(key)) {
            const auto meant =
                std::find_if(m_known.begin(), m_known.end(),
                             [key](const std::wstring& candidate) { return IsMistyped(key, candidate); });
            place->second = meant == m_known.end() ? nullptr : &*meant;
        }
        return place->second;
    }

private:
    const KnownKeys& m_known;
    std::map<std::wstring_view, const std::wstring*> m_meant;
};

bool HasMember(const DocumentMap& document, const DocumentNode& object, std::wstring_view key) {
    return std::any_of(object.children.begin(), object.children.end(), [&](int32_t child) {
        return document.Nodes()[static_cast<size_t>(child)].key == key;
    });
}

} // namespace

void CheckStructure(const SourceText& source, const DocumentMap& document, Problems& problems) {
    CheckCommas(document, problems);
    for (const DocumentNode& node : document.Nodes()) {
        if (node.kind == JsonKind::Object) {
            CheckDuplicates(source, document, node, problems);
        }
    }
}

void CheckSpelling(const DocumentMap& document, const KnownKeys& known, Problems& problems) {
    Meanings meanings(known);
    for (const DocumentNode& node : document.Nodes()) {
        const std::wstring* const meant = node.HasKey() ? meanings.Of(node.key) : nullptr;
        if (meant && !HasMember(document, document.Nodes()[static_cast<size_t>(node.parent)], *meant)) {
            AddWarning(problems, "misspelt", node.keyBegin, node.keyEnd,
                       Quoted(node.key) + " is no known name", "did you mean " + Quoted(*meant) + "?");
        }
    }
}

} // namespace zq
