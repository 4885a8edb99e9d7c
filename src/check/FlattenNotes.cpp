#include "check/FlattenNotes.h"

#include "check/LastWriters.h"
#include "check/Quote.h"

namespace zq {

namespace {

struct SkipTexts {
    const char* code;
    const char* text;
    const char* mend;
};

SkipTexts TextsOf(Skipped reason) {
    switch (reason) {
    case Skipped::EmptyName:
        return {"no-name", "a value without a name is skipped", "name it"};
    case Skipped::Null:
        return {"skipped-null", "null is skipped", "write a value, or take the member away"};
    case Skipped::IgnoredArray:
        return {"ignored-array", "an array is ignored here: only \"CL\", the list of headsets, is read",
                "write its values as members with names"};
    case Skipped::Header:
        return {"skipped-headset", "this headset is skipped: it has no text \"HD\" with its name",
                "write {\"HD\":\"NAME\", ...}"};
    case Skipped::Device:
        return {"skipped-device",
                "this device is skipped: it needs a text \"DeviceName\" and an array \"Response\"",
                "write {\"DeviceName\":\"NAME\",\"Response\":[...]}"};
    case Skipped::Response:
        return {"skipped-response", "only objects are read here; this is skipped",
                "write {\"MainRequest\":1,\"SubRequest\":1,\"index\":0,\"Value\":...}"};
    case Skipped::ResponseNumbers:
        return {"skipped-response",
                "this response is skipped: it needs the whole numbers \"MainRequest\", \"SubRequest\" and "
                "\"index\", "
                "and a \"Value\"",
                "write {\"MainRequest\":1,\"SubRequest\":1,\"index\":0,\"Value\":...}"};
    case Skipped::ResponseValue:
        return {"skipped-value", "this value is skipped: it is no bool, number or text",
                "write true, false, a number or a text"};
    case Skipped::Preset:
        return {"skipped-preset", "only objects are presets; this is skipped, and its place is used up",
                "write the presets Quality, Balance, Performance and Ultra in this order, each in braces"};
    case Skipped::PresetMember:
        return {"skipped-member", "an object or null is skipped among presets",
                "write an array of presets, or a bool, number or text"};
    }
    return {};
}

// A container is told by its opening bracket alone.
int32_t ShownEnd(const DocumentNode& node) {
    const bool isContainer = node.kind == JsonKind::Array || node.kind == JsonKind::Object;
    return isContainer ? node.begin + 1 : node.end;
}

} // namespace

std::vector<PlacedVariable> FlattenNotes::TakeVariables() {
    m_origins.resize(m_batch.Entries().size());
    std::vector<PlacedVariable> variables;
    variables.reserve(m_origins.size());
    for (size_t i = 0; i < m_origins.size(); ++i) {
        variables.push_back({&m_batch.Entries()[i], m_origins[i]});
    }
    return variables;
}

void FlattenNotes::OnAdded(const JsonValue& value) {
    m_origins.resize(m_batch.Entries().size());
    m_origins.back() = &m_document.NodeOf(value);
}

void FlattenNotes::OnSkipped(const JsonValue& value, Skipped reason) {
    const DocumentNode& node = m_document.NodeOf(value);
    const SkipTexts texts = TextsOf(reason);
    const bool isAboutName = reason == Skipped::EmptyName || reason == Skipped::PresetMember;
    AddWarning(m_problems, texts.code, isAboutName ? node.Place() : node.begin,
               isAboutName ? node.PlaceEnd() : ShownEnd(node), texts.text, texts.mend);
}

void CheckOverwritten(const SourceText& source, const std::vector<PlacedVariable>& variables,
                      Problems& problems) {
    LastWriters writers;
    for (const PlacedVariable& variable : variables) {
        const auto loser = writers.Write(variable, 0);
        if (!loser || !loser->node) {
            continue;
        }
        const std::string by =
            variable.node ? "in line " + std::to_string(source.PositionOf(variable.node->Place()).line)
                          : "by the module itself";
        AddWarning(problems, "overwritten", loser->node->Place(), loser->node->PlaceEnd(),
                   "the variable " + Quoted(VariableBatch::NameOf(*variable.entry)) + " is written over " +
                       by,
                   "take one of them away");
    }
}

} // namespace zq
