#include "check/FlattenNotes.h"

#include "check/LastWriters.h"
#include "check/Quote.h"

#include <algorithm>
#include <set>
#include <utility>

namespace zq {

namespace {

struct SkipTexts {
    const char* code;
    const char* text;
    const char* fix;
};

SkipTexts TextsOf(Skipped reason) {
    switch (reason) {
    case Skipped::EmptyName:
        return {"no-name", "a value without a name is skipped", "give it a name"};
    case Skipped::Null:
        return {"skipped-null", "null is skipped", "write a value or remove the member"};
    case Skipped::IgnoredArray:
        return {"ignored-array",
                "this array is skipped: of all arrays, only \"CL\", the list of headsets, is read",
                "write its values as members with names"};
    case Skipped::Header:
        return {"skipped-headset", "this headset is skipped: it has no text \"HD\" with its name",
                "write {\"HD\": \"NAME\", ...}"};
    case Skipped::Device:
        return {"skipped-device",
                "this device is skipped: it needs a text \"DeviceName\" and an array \"Response\"",
                "write {\"DeviceName\": \"NAME\", \"Response\": [...]}"};
    case Skipped::Response:
        return {"skipped-response", "this is skipped: only objects are responses",
                "write {\"MainRequest\": 1, \"SubRequest\": 1, \"index\": 0, \"Value\": ...}"};
    case Skipped::ResponseNumbers:
        return {"skipped-response",
                "this response is skipped: it needs the whole numbers \"MainRequest\", \"SubRequest\" and "
                "\"index\", and a \"Value\"",
                "write {\"MainRequest\": 1, \"SubRequest\": 1, \"index\": 0, \"Value\": ...}"};
    case Skipped::ResponseValue:
        return {"skipped-value", "this value is skipped: it is not a bool, number or text",
                "write true, false, a number or a text"};
    case Skipped::Preset:
        return {"skipped-preset", "this is skipped, and counts as a preset: only objects are presets",
                "write the presets Quality, Balance, Performance and Ultra in this order, each in braces"};
    case Skipped::PresetMember:
        return {"skipped-member", "an object or null is skipped among presets",
                "write an array of presets, or a bool, number or text"};
    }
    return {};
}

// A container is shown by its opening bracket only.
int32_t ShownEnd(const DocumentNode& node) {
    const bool isContainer = node.kind == JsonKind::Array || node.kind == JsonKind::Object;
    return isContainer ? node.begin + 1 : node.end;
}

} // namespace

std::vector<PlacedVariable> FlattenNotes::TakeVariables() {
    m_origins.resize(m_batch.Entries().size());
    std::vector<PlacedVariable> variables;
    variables.reserve(m_origins.size());
    for (const VariableBatch::Entry& entry : m_batch.Entries()) {
        variables.push_back({entry, m_origins[variables.size()]});
    }
    return variables;
}

void FlattenNotes::OnAdded(const JsonValue& value) {
    m_origins.resize(m_batch.Entries().size());
    m_origins.back() = &m_document.NodeOf(value);
}

void FlattenNotes::OnSkipped(const JsonValue& value, Skipped reason) {
    const DocumentNode& node = m_document.NodeOf(value);
    if (reason == Skipped::ResponseNumbers && ReportWrongNumber(node)) {
        return;
    }
    const SkipTexts texts = TextsOf(reason);
    const bool isAboutName = reason == Skipped::EmptyName || reason == Skipped::PresetMember;
    AddWarning(m_problems, texts.code, isAboutName ? node.Offset() : node.begin,
               isAboutName ? node.OffsetEnd() : ShownEnd(node), texts.text, texts.fix);
}

// Of a response whose numbers are all there, the one that is not a whole number.
bool FlattenNotes::ReportWrongNumber(const DocumentNode& response) {
    bool isReported = false;
    for (const int32_t child : response.children) {
        const DocumentNode& member = m_document.Nodes()[static_cast<size_t>(child)];
        const bool isNumber =
            member.key == L"MainRequest" || member.key == L"SubRequest" || member.key == L"index";
        if (isNumber && member.kind != JsonKind::Integer) {
            const bool isText = member.kind == JsonKind::String;
            AddWarning(m_problems, "skipped-response", member.begin, ShownEnd(member),
                       "this response is skipped: " + Quoted(member.key) + " must be a whole number",
                       isText ? "write it without quotes" : "write a number without a point");
            isReported = true;
        }
    }
    return isReported;
}

namespace {

// The array element at the first or second level that holds a node: a device, a headset or a preset.
int32_t ListElementOf(const DocumentMap& document, const DocumentNode& node) {
    const auto& nodes = document.Nodes();
    int32_t element = DocumentNode::kNone;
    int32_t index = static_cast<int32_t>(&node - nodes.data());
    for (; index != DocumentNode::kNone; index = nodes[static_cast<size_t>(index)].parent) {
        const DocumentNode& at = nodes[static_cast<size_t>(index)];
        const bool isElement =
            at.parent != DocumentNode::kNone && !at.HasKey() && at.kind == JsonKind::Object;
        element = isElement ? index : element;
    }
    return element;
}

std::string NameOfElement(const DocumentMap& document, const DocumentNode& element,
                          const SourceText& source) {
    for (const int32_t child : element.children) {
        const DocumentNode& member = document.Nodes()[static_cast<size_t>(child)];
        if ((member.key == L"HD" || member.key == L"DeviceName") && member.kind == JsonKind::String) {
            return "the headset " +
                   Utf8(source.Text().substr(static_cast<size_t>(member.begin),
                                             static_cast<size_t>(member.end - member.begin)));
        }
    }
    return "this headset";
}

// An element of a list takes the place of another one.
void WarnOfLostElement(ConfigFile file, const SourceText& source, const DocumentMap& document,
                       const DocumentNode& loser, const DocumentNode& winner, Problems& problems) {
    if (file == ConfigFile::Quality) {
        AddWarning(problems, "overwritten", winner.begin, winner.begin + 1,
                   "a headset has four presets; this one takes the place of the last of them, in line " +
                       std::to_string(source.PositionOf(loser.begin).line),
                   "remove one of them");
        return;
    }
    AddWarning(problems, "overwritten", loser.begin, loser.begin + 1,
               NameOfElement(document, loser, source) + " is there again in line " +
                   std::to_string(source.PositionOf(winner.begin).line) +
                   ", which writes over variables of this one",
               "remove one of them");
}

} // namespace

void CheckOverwritten(ConfigFile file, const SourceText& source, const DocumentMap& document,
                      const std::vector<PlacedVariable>& variables, Problems& problems) {
    LastWriters writers;
    std::set<std::pair<int32_t, int32_t>> reported;
    for (const PlacedVariable& variable : variables) {
        const auto loser = writers.Write(variable, 0);
        if (!loser || !loser->node) {
            continue;
        }
        const int32_t lost = ListElementOf(document, *loser->node);
        const int32_t winner = variable.node ? ListElementOf(document, *variable.node) : lost;
        if (lost != DocumentNode::kNone && winner != DocumentNode::kNone && lost != winner) {
            if (reported.emplace(lost, winner).second) {
                WarnOfLostElement(file, source, document, document.Nodes()[static_cast<size_t>(lost)],
                                  document.Nodes()[static_cast<size_t>(winner)], problems);
            }
            continue;
        }
        const std::string by =
            variable.node ? "in line " + std::to_string(source.PositionOf(variable.node->Offset()).line)
                          : "by the module itself";
        AddWarning(problems, "overwritten", loser->node->Offset(), loser->node->OffsetEnd(),
                   "the variable " + Quoted(VariableBatch::NameOf(variable.entry)) + " is written over " + by,
                   "remove one of them");
    }
}

} // namespace zq
