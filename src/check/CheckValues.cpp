#include "check/Checks.h"
#include "check/FileCheck.h"
#include "check/KeyDescription.h"
#include "check/Quote.h"

#include <algorithm>
#include <map>

namespace zq {

namespace {

using Entry = VariableBatch::Entry;
using ValueKind = VariableBatch::Kind;

JsonValue ValueOf(const Entry& entry) {
    JsonValue value;
    switch (entry.kind) {
    case ValueKind::Bool:
        value.kind = JsonKind::Bool;
        value.boolean = entry.boolean;
        break;
    case ValueKind::Int64:
    case ValueKind::Number:
        value.kind = JsonKind::Integer;
        value.integer = entry.integer;
        break;
    case ValueKind::Double:
        value.kind = JsonKind::Double;
        value.real = entry.real;
        break;
    case ValueKind::String:
        value.kind = JsonKind::String;
        value.count = static_cast<uint32_t>(entry.textLength);
        value.text = entry.text;
        break;
    }
    return value;
}

const char* KindTextOf(ValueKind kind) {
    switch (kind) {
    case ValueKind::Bool:
        return "a bool";
    case ValueKind::Int64:
    case ValueKind::Number:
        return "a whole number";
    case ValueKind::Double:
        return "a number with a point";
    case ValueKind::String:
        break;
    }
    return "a text";
}

// A whole number is a double too.
bool Fits(ValueKind kind, ValueKind wanted) {
    return kind == wanted || (kind == ValueKind::Number && wanted == ValueKind::Double);
}

bool IsSingleType(const SchemaRule& rule) {
    const std::string type = rule.TypeText();
    return type.find(' ') == std::string::npos && type != "any";
}

class ValueChecker {
public:
    ValueChecker(const DefaultFile& defaults, Problems& problems)
        : m_defaults(defaults), m_problems(problems) {}

    void Check(const PlacedVariable& variable) {
        const std::wstring_view name = VariableBatch::NameOf(variable.entry);
        // What the module counts itself: the size of a list, and the headsets' names.
        const JsonKind kind = variable.node ? variable.node->kind : JsonKind::Array;
        if (kind == JsonKind::Array || kind == JsonKind::Object || name.starts_with(L"HmdNameList.")) {
            return;
        }
        const auto key = DescribeKey(name);
        if (key && IsSingleType(key->rule)) {
            CheckBySchema(variable, key->rule);
        } else {
            CheckByDefault(variable, name);
        }
    }

private:
    void Warn(const PlacedVariable& variable, const char* code, const std::string& text, std::string fix) {
        const DocumentNode& node = *variable.node;
        AddWarning(m_problems, code, node.begin, node.end,
                   Utf8(VariableBatch::NameOf(variable.entry)) + ": " + ValueText(ValueOf(variable.entry)) +
                       ' ' + text,
                   std::move(fix));
    }

    void CheckBySchema(const PlacedVariable& variable, const SchemaRule& rule) {
        if (const auto misfit = MisfitOf(rule, ValueOf(variable.entry))) {
            Warn(variable, misfit->code, misfit->text, misfit->fix);
        }
    }

    void CheckByDefault(const PlacedVariable& variable, std::wstring_view name) {
        const auto wanted = m_defaults.types.find(name);
        if (wanted != m_defaults.types.end() && !Fits(variable.entry.kind, wanted->second)) {
            Warn(variable, "wrong-type",
                 std::string("is ") + KindTextOf(variable.entry.kind) + ", but the default file has " +
                     KindTextOf(wanted->second),
                 "write " + std::string(KindTextOf(wanted->second)));
        }
    }

    const DefaultFile& m_defaults;
    Problems& m_problems;
};

using ByName = std::map<std::wstring_view, const PlacedVariable*>;

// The headset in use must be one of the list.
void CheckIndex(const ByName& byName, Problems& problems) {
    const auto index = byName.find(L"DHI");
    const auto size = byName.find(L"HmdNameSize");
    if (index == byName.end() || size == byName.end() || index->second->entry.kind != ValueKind::Number) {
        return;
    }
    const int64_t wanted = index->second->entry.integer;
    const int64_t count = size->second->entry.integer;
    if (wanted < 0 || wanted < count) {
        return; // below 0 is out of range by the schema
    }
    const DocumentNode& node = *index->second->node;
    AddWarning(problems, "no-such-headset", node.begin, node.end,
               "DHI: " + std::to_string(wanted) + " selects no headset: the list CL has " +
                   std::to_string(count),
               count == 0   ? "add the headset to CL"
               : count == 1 ? "write 0"
                            : "write 0 to " + std::to_string(count - 1));
}

void CheckMaximum(const ByName& byName, Problems& problems) {
    constexpr std::wstring_view kMaximum = L".MaxBitrate";
    for (const auto& [name, maximum] : byName) {
        if (!name.ends_with(kMaximum) || maximum->entry.kind != ValueKind::Number) {
            continue;
        }
        const std::wstring prefix(name.substr(0, name.size() - kMaximum.size()));
        const auto bitrate = byName.find(prefix + L".Bitrate");
        if (bitrate == byName.end() || bitrate->second->entry.kind != ValueKind::Number ||
            bitrate->second->entry.integer <= maximum->entry.integer) {
            continue;
        }
        const DocumentNode& node = *bitrate->second->node;
        AddWarning(problems, "out-of-range", node.begin, node.end,
                   Utf8(bitrate->first) + ": " + std::to_string(bitrate->second->entry.integer) +
                       " is above " + "MaxBitrate, " + std::to_string(maximum->entry.integer),
                   "write a lower bitrate or a higher MaxBitrate");
    }
}

} // namespace

void CheckValues(const std::vector<PlacedVariable>& variables, const DefaultFile& defaults,
                 Problems& problems) {
    ValueChecker checker(defaults, problems);
    for (const PlacedVariable& variable : variables) {
        checker.Check(variable);
    }
}

void CheckReferences(const std::vector<PlacedVariable>& variables, Problems& problems) {
    ByName byName;
    for (const PlacedVariable& variable : variables) {
        byName.insert_or_assign(VariableBatch::NameOf(variable.entry), &variable);
    }
    CheckIndex(byName, problems);
    CheckMaximum(byName, problems);
}

} // namespace zq
