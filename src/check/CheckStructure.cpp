#include "check/Checks.h"
#include "check/NearestName.h"
#include "check/Quote.h"
#include "check/SchemaRule.h"

#include <algorithm>
#include <map>
#include <optional>

namespace zq {

namespace {

using NodesByKey = std::map<std::wstring_view, const DocumentNode*>;

NodesByKey LastMembers(const DocumentMap& document, const DocumentNode& object) {
    NodesByKey last;
    for (const int32_t child : object.children) {
        const DocumentNode& member = document.Nodes()[static_cast<size_t>(child)];
        last[member.key] = &member;
    }
    return last;
}

void CheckDuplicatesOf(const SourceText& source, const DocumentMap& document, const DocumentNode& object,
                       Problems& problems) {
    const NodesByKey last = LastMembers(document, object);
    if (last.size() == object.children.size()) {
        return;
    }
    for (const int32_t child : object.children) {
        const DocumentNode& member = document.Nodes()[static_cast<size_t>(child)];
        const DocumentNode& winner = *last.at(member.key);
        if (&winner != &member) {
            AddWarning(problems, "duplicate-key", member.keyBegin, member.keyEnd,
                       Quoted(member.key) + " is there again in line " +
                           std::to_string(source.PositionOf(winner.keyBegin).line) +
                           ", and only the last one counts",
                       "remove one of them");
        }
    }
}

// What a key that is not known was meant for; keys come again in every element of a list.
class Meanings {
public:
    explicit Meanings(const KnownKeys& known) : m_known(known) {}

    // Null where no known key is near.
    const std::wstring* Of(std::wstring_view key) {
        const auto [entry, isNew] = m_meant.try_emplace(key, nullptr);
        if (isNew && !key.empty() && !m_known.contains(key)) {
            const auto meant =
                std::find_if(m_known.begin(), m_known.end(),
                             [key](const std::wstring& candidate) { return IsMistyped(key, candidate); });
            entry->second = meant == m_known.end() ? nullptr : &*meant;
        }
        return entry->second;
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

bool IsContainer(JsonKind kind) { return kind == JsonKind::Array || kind == JsonKind::Object; }

// The schema's sentence as advice: without the capital and the full stop.
std::string AdviceOf(const SchemaRule& rule) {
    std::string advice = Utf8(rule.Description());
    if (advice.empty()) {
        return "remove it, or correct its name";
    }
    advice.front() = advice.front() == 'T' ? 't' : advice.front() == 'I' ? 'i' : advice.front();
    advice.pop_back();
    return advice;
}

// A group or list in place of a value, or the other way round. Values of the wrong type are not checked here:
// what they become says more.
void CheckKind(const SchemaRule& rule, const DocumentNode& node, Problems& problems) {
    const bool wantsContainer = rule.Allows(JsonKind::Object) || rule.Allows(JsonKind::Array);
    const bool wantsScalar =
        rule.Allows(JsonKind::String) || rule.Allows(JsonKind::Integer) || rule.Allows(JsonKind::Bool);
    if (rule.Allows(node.kind) || node.kind == JsonKind::Null || !node.HasKey() ||
        (!IsContainer(node.kind) && wantsScalar) || (node.kind == JsonKind::Array && !wantsContainer)) {
        return;
    }
    AddWarning(problems, "wrong-type", node.begin, IsContainer(node.kind) ? node.begin + 1 : node.end,
               Quoted(node.key) + " is " + KindText(node.kind) + ", but " +
                   (rule.TypeText() == "string" ? "a text" : "an " + rule.TypeText()) + " is expected",
               rule.Allows(JsonKind::Array) ? "put its values into \"[\" and \"]\"" : "");
}

void CheckEmpty(const SchemaRule& rule, const DocumentNode& node, Problems& problems) {
    constexpr int32_t kQuotes = 2;
    if (rule.WantsText() && node.kind == JsonKind::String && node.end - node.begin == kQuotes) {
        AddWarning(problems, "empty-name", node.begin, node.end,
                   Quoted(node.key) + " is empty: the server finds nothing of this headset",
                   "write the headset's name");
    }
}

} // namespace

void CheckDuplicates(const SourceText& source, const DocumentMap& document, Problems& problems) {
    for (const DocumentNode& node : document.Nodes()) {
        if (node.kind == JsonKind::Object) {
            CheckDuplicatesOf(source, document, node, problems);
        }
    }
}

void CheckSpelling(const DocumentMap& document, const DefaultFile& defaults, Problems& problems) {
    Meanings meanings(defaults.keys);
    for (const DocumentNode& node : document.Nodes()) {
        const std::wstring* const meant = node.HasKey() ? meanings.Of(node.key) : nullptr;
        if (meant && !HasMember(document, document.Nodes()[static_cast<size_t>(node.parent)], *meant)) {
            AddWarning(problems, "misspelt", node.keyBegin, node.keyEnd,
                       Quoted(node.key) + " is not a known name", "did you mean " + Quoted(*meant) + "?");
        }
    }
}

void CheckMembers(ConfigFile file, const DocumentMap& document, Problems& problems) {
    std::vector<std::optional<SchemaRule>> rules;
    rules.reserve(document.Nodes().size());
    for (const DocumentNode& node : document.Nodes()) {
        if (node.parent == DocumentNode::kNone) {
            rules.emplace_back(SchemaRule::Of(file));
            continue;
        }
        const std::optional<SchemaRule> parent = rules[static_cast<size_t>(node.parent)];
        const bool isNamed = parent && node.HasKey() && parent->Names(node.key);
        rules.push_back(!parent         ? std::nullopt
                        : node.HasKey() ? parent->Member(node.key)
                                        : parent->Element());
        if (parent && node.HasKey() && !node.key.empty() && parent->Forbids(node.key)) {
            AddWarning(problems, "not-read", node.keyBegin, node.keyEnd,
                       Quoted(node.key) + " does not belong here",
                       rules.back() ? AdviceOf(*rules.back()) : "remove it, or correct its name");
        } else if (isNamed) {
            CheckKind(*rules.back(), node, problems);
            CheckEmpty(*rules.back(), node, problems);
        }
    }
}

} // namespace zq
