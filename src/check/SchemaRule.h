// One rule of the JSON schemas: the types, range, unit, default and description of a member.
//
// Portable. The schemas are compiled in and read once, on first use; any thread may ask. A rule is a view
// that is valid for the life of the program.
#pragma once

#include "config/ConfigText.h"
#include "config/json/JsonValue.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zq {

class SchemaRule {
public:
    // The rule of a whole file.
    static SchemaRule Of(ConfigFile file);
    // The rule of the variables that the module sets itself; its members are their names.
    static SchemaRule OfModule();

    // Returns the rule of a member, or of each element of an array; nothing if the schema does not say
    // anything.
    std::optional<SchemaRule> Member(std::wstring_view key) const;
    std::optional<SchemaRule> Element() const;
    // Whether the schema names the member and does not just have a rule for all members.
    bool Names(std::wstring_view key) const;
    // Whether no member of this name should be there.
    bool Forbids(std::wstring_view key) const;

    // Whether a value of this kind fits, its range aside. A whole number fits where a double does.
    bool Allows(JsonKind kind) const;
    // "integer", "bool", "number or string", ...
    std::string TypeText() const;

    std::optional<double> Minimum() const { return Limit(L"minimum"); }
    std::optional<double> Maximum() const { return Limit(L"maximum"); }
    bool WantsText() const { return m_rule->Member(L"minLength") != nullptr; } // that is not empty
    // The only texts that are valid; none where any text is.
    std::vector<std::wstring_view> Choices() const;
    // Whether the value is a list of numbers, separated by commas.
    bool IsNumberList() const { return !Text(L"pattern").empty(); }
    std::wstring_view Unit() const { return Text(L"unit"); }
    std::wstring_view Description() const { return Text(L"description"); }
    // The value of the default file, or null.
    const JsonValue* Default() const { return m_rule->Member(L"default"); }

private:
    SchemaRule(const JsonValue& schema, const JsonValue& rule);

    std::optional<SchemaRule> Below(const JsonValue* rule) const;
    std::vector<std::wstring_view> Types() const;
    std::optional<double> Limit(std::wstring_view key) const;
    std::wstring_view Text(std::wstring_view key) const;

    const JsonValue* m_schema;
    const JsonValue* m_rule;
};

// Why a value does not fit a rule.
struct Misfit {
    const char* code; // "wrong-type", "out-of-range", "no-choice" or "no-number-list"
    std::string text; // a clause whose subject is the value: "is a text, but a whole number is read here"
    std::string fix;  // may be empty
};

// Returns nothing if the value fits. For a container only its kind is checked.
std::optional<Misfit> MisfitOf(const SchemaRule& rule, const JsonValue& value);

// "1 to 1000 Mbit/s", "0 or more", "cbr, vbr or cqp"; empty where any value is valid.
std::string RangeText(const SchemaRule& rule);

// "a whole number", "a text", ...; UTF-8.
const char* KindText(JsonKind kind);

// As in a file: true, 70, 70.0, "text".
std::string ValueText(const JsonValue& value);

} // namespace zq
