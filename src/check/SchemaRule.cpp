#include "check/SchemaRule.h"

#include "base/AsciiCase.h"
#include "check/EmbeddedSchemas.h"
#include "check/Quote.h"
#include "config/json/JsonReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <stdexcept>

namespace zq {

namespace {

// A schema's text and tree; the tree points into the text.
class Schema {
public:
    explicit Schema(std::string_view ascii) : m_text(ascii.begin(), ascii.end()) {
        if (ParseJsonValue(m_root, m_text.data(), static_cast<int32_t>(m_text.size())) < 1) {
            throw std::logic_error("a schema cannot be read");
        }
    }
    const JsonValue& Root() const { return m_root; }

private:
    std::wstring m_text;
    JsonRoot m_root;
};

const JsonValue& RootOf(ConfigFile file) {
    static const Schema settings(kSettingsSchema);
    static const Schema hmdList(kHmdListSchema);
    static const Schema quality(kQualitySchema);
    switch (file) {
    case ConfigFile::Settings:
        return settings.Root();
    case ConfigFile::HmdList:
        return hmdList.Root();
    case ConfigFile::Quality:
        break;
    }
    return quality.Root();
}

// A reference is always "#/definitions/<name>".
const JsonValue& Resolved(const JsonValue& schema, const JsonValue& rule) {
    const JsonValue* const reference = rule.Member(L"$ref");
    if (!reference) {
        return rule;
    }
    const std::wstring_view path = GetJsonString(*reference);
    return *schema.Member(L"definitions")->Member(path.substr(path.rfind(L'/') + 1));
}

struct TypeName {
    std::wstring_view schema;
    const char* shown;
};
constexpr std::array<TypeName, 6> kTypeNames = {{{L"boolean", "bool"},
                                                 {L"integer", "integer"},
                                                 {L"number", "number"},
                                                 {L"string", "string"},
                                                 {L"array", "array"},
                                                 {L"object", "object"}}};

bool Fits(std::wstring_view type, JsonKind kind) {
    switch (kind) {
    case JsonKind::Bool:
        return type == L"boolean";
    case JsonKind::Integer:
        return type == L"integer" || type == L"number";
    case JsonKind::Double:
        return type == L"number";
    case JsonKind::String:
        return type == L"string";
    case JsonKind::Array:
        return type == L"array";
    case JsonKind::Object:
        return type == L"object";
    case JsonKind::Null:
        break;
    }
    return false;
}

double NumberOf(const JsonValue& value) {
    return value.Is(JsonKind::Integer) ? static_cast<double>(value.integer) : value.real;
}

bool IsNumber(const JsonValue& value) { return value.Is(JsonKind::Integer) || value.Is(JsonKind::Double); }

std::string NumberText(double number) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return {digits.data(), end};
}

std::string Joined(const std::vector<std::string>& parts) {
    std::string text;
    for (size_t i = 0; i < parts.size(); ++i) {
        text += i == 0 ? "" : i + 1 == parts.size() ? " or " : ", ";
        text += parts[i];
    }
    return text;
}

std::string ChoicesText(const SchemaRule& rule) {
    std::vector<std::string> choices;
    for (const std::wstring_view choice : rule.Choices()) {
        choices.push_back(Quoted(choice));
    }
    return Joined(choices);
}

// Digits, points and single commas between them.
bool IsNumberListText(std::wstring_view text) {
    bool isDigitBefore = false;
    for (const wchar_t unit : text) {
        const bool isDigit = IsAsciiDigit(unit) || unit == L'.';
        if (!isDigit && (unit != L',' || !isDigitBefore)) {
            return false;
        }
        isDigitBefore = isDigit;
    }
    return isDigitBefore;
}

const char* WantedText(const SchemaRule& rule) {
    for (const JsonKind kind : {JsonKind::Double, JsonKind::Integer, JsonKind::Bool, JsonKind::String,
                                JsonKind::Array, JsonKind::Object}) {
        if (rule.Allows(kind)) {
            return kind == JsonKind::Double ? "a number" : KindText(kind);
        }
    }
    return "another value";
}

std::string TypeFix(const SchemaRule& rule, const JsonValue& value) {
    const std::wstring_view text = GetJsonString(value);
    const bool isWord = text == L"true" || text == L"false";
    const bool isDigits = !text.empty() && text.find_first_not_of(L"0123456789") == std::wstring_view::npos;
    if ((isWord && rule.Allows(JsonKind::Bool)) || (isDigits && rule.Allows(JsonKind::Integer))) {
        return "write " + Utf8(text) + " without quotes";
    }
    if (rule.Allows(JsonKind::Bool)) {
        return "write true or false";
    }
    if (rule.Allows(JsonKind::String) && !value.Is(JsonKind::Array) && !value.Is(JsonKind::Object)) {
        return "put it in quotes";
    }
    if (rule.Allows(JsonKind::Integer)) {
        return value.Is(JsonKind::Double) ? "write a number without a point"
                                          : "write a number, without quotes";
    }
    return {};
}

std::optional<Misfit> RangeMisfit(const SchemaRule& rule, const JsonValue& value) {
    const double number = NumberOf(value);
    const auto minimum = rule.Minimum();
    const auto maximum = rule.Maximum();
    if ((!minimum || number >= *minimum) && (!maximum || number <= *maximum)) {
        return {};
    }
    const bool isLow = minimum && number < *minimum;
    return Misfit{"out-of-range",
                  std::string("is ") + (isLow ? "below " : "above ") +
                      NumberText(isLow ? *minimum : *maximum),
                  "write " + RangeText(rule)};
}

} // namespace

SchemaRule::SchemaRule(const JsonValue& schema, const JsonValue& rule)
    : m_schema(&schema), m_rule(&Resolved(schema, rule)) {}

SchemaRule SchemaRule::Of(ConfigFile file) {
    const JsonValue& root = RootOf(file);
    return {root, root};
}

SchemaRule SchemaRule::OfModule() {
    static const Schema module(kModuleSchema);
    return {module.Root(), module.Root()};
}

std::optional<SchemaRule> SchemaRule::Below(const JsonValue* rule) const {
    return rule && rule->Is(JsonKind::Object) ? std::optional(SchemaRule(*m_schema, *rule)) : std::nullopt;
}

bool SchemaRule::Names(std::wstring_view key) const {
    const JsonValue* const properties = m_rule->Member(L"properties");
    return properties && properties->Member(key);
}

bool SchemaRule::Forbids(std::wstring_view key) const {
    if (Names(key)) {
        return m_rule->Member(L"properties")->Member(key)->Member(L"not") != nullptr;
    }
    const JsonValue* const others = m_rule->Member(L"additionalProperties");
    return others && others->Is(JsonKind::Bool) && others->boolean == 0;
}

std::optional<SchemaRule> SchemaRule::Member(std::wstring_view key) const {
    if (Names(key)) {
        return Below(m_rule->Member(L"properties")->Member(key));
    }
    if (const auto others = Below(m_rule->Member(L"additionalProperties"))) {
        return others;
    }
    for (const JsonValue& choice :
         m_rule->Member(L"anyOf") ? m_rule->Member(L"anyOf")->Elements() : std::span<const JsonValue>()) {
        if (const auto member = SchemaRule(*m_schema, choice).Member(key)) {
            return member;
        }
    }
    return {};
}

std::optional<SchemaRule> SchemaRule::Element() const {
    if (const auto element = Below(m_rule->Member(L"items"))) {
        return element;
    }
    for (const JsonValue& choice :
         m_rule->Member(L"anyOf") ? m_rule->Member(L"anyOf")->Elements() : std::span<const JsonValue>()) {
        if (const auto element = SchemaRule(*m_schema, choice).Element()) {
            return element;
        }
    }
    return {};
}

std::vector<std::wstring_view> SchemaRule::Types() const {
    std::vector<std::wstring_view> types;
    if (const JsonValue* const type = m_rule->Member(L"type")) {
        if (type->Is(JsonKind::String)) {
            types.push_back(GetJsonString(*type));
        }
        for (const JsonValue& element : type->Elements()) {
            types.push_back(GetJsonString(element));
        }
    }
    if (const JsonValue* const choices = m_rule->Member(L"anyOf")) {
        for (const JsonValue& choice : choices->Elements()) {
            for (const std::wstring_view type : SchemaRule(*m_schema, choice).Types()) {
                types.push_back(type);
            }
        }
    }
    return types;
}

bool SchemaRule::Allows(JsonKind kind) const {
    const std::vector<std::wstring_view> types = Types();
    return types.empty() || std::any_of(types.begin(), types.end(),
                                        [kind](std::wstring_view type) { return Fits(type, kind); });
}

std::string SchemaRule::TypeText() const {
    std::vector<std::string> names;
    for (const std::wstring_view type : Types()) {
        const auto known = std::find_if(kTypeNames.begin(), kTypeNames.end(),
                                        [type](const TypeName& name) { return name.schema == type; });
        if (known != kTypeNames.end()) {
            names.emplace_back(known->shown);
        }
    }
    return names.empty() ? "any" : Joined(names);
}

std::vector<std::wstring_view> SchemaRule::Choices() const {
    std::vector<std::wstring_view> choices;
    if (const JsonValue* const list = m_rule->Member(L"enum")) {
        for (const JsonValue& choice : list->Elements()) {
            choices.push_back(GetJsonString(choice));
        }
    }
    return choices;
}

std::optional<double> SchemaRule::Limit(std::wstring_view key) const {
    constexpr double kEndOfIntegers = 9.2e18; // limits of 64 bits are for editors: the reader has its own
    const JsonValue* const value = m_rule->Member(key);
    const bool isLimit = value && IsNumber(*value) && std::abs(NumberOf(*value)) < kEndOfIntegers;
    return isLimit ? std::optional(NumberOf(*value)) : std::nullopt;
}

std::wstring_view SchemaRule::Text(std::wstring_view key) const {
    const JsonValue* const value = m_rule->Member(key);
    return value ? GetJsonString(*value) : std::wstring_view();
}

std::optional<Misfit> MisfitOf(const SchemaRule& rule, const JsonValue& value) {
    if (!rule.Allows(value.kind)) {
        return Misfit{"wrong-type",
                      std::string("is ") + KindText(value.kind) + ", but " + WantedText(rule) +
                          " is expected",
                      TypeFix(rule, value)};
    }
    if (IsNumber(value)) {
        return RangeMisfit(rule, value);
    }
    if (!value.Is(JsonKind::String)) {
        return {};
    }
    const std::wstring_view text = GetJsonString(value);
    const std::vector<std::wstring_view> choices = rule.Choices();
    if (!choices.empty() && std::find(choices.begin(), choices.end(), text) == choices.end()) {
        return Misfit{"no-choice", "is not one of the possible values", "write " + ChoicesText(rule)};
    }
    if (rule.IsNumberList() && !IsNumberListText(text)) {
        return Misfit{"no-number-list", "is not a list of numbers",
                      "write numbers, separated by commas: \"20,40,70\""};
    }
    return {};
}

std::string RangeText(const SchemaRule& rule) {
    if (!rule.Choices().empty()) {
        return ChoicesText(rule);
    }
    const auto minimum = rule.Minimum();
    const auto maximum = rule.Maximum();
    std::string text;
    if (minimum && maximum) {
        text = NumberText(*minimum) + " to " + NumberText(*maximum);
    } else if (minimum || maximum) {
        text = NumberText(minimum ? *minimum : *maximum) + (minimum ? " or more" : " or less");
    } else {
        return {};
    }
    return rule.Unit().empty() ? text : text + ' ' + Utf8(rule.Unit());
}

const char* KindText(JsonKind kind) {
    switch (kind) {
    case JsonKind::Null:
        return "null";
    case JsonKind::Bool:
        return "a bool";
    case JsonKind::Integer:
        return "a whole number";
    case JsonKind::Double:
        return "a number with a point";
    case JsonKind::String:
        return "a text";
    case JsonKind::Array:
        return "an array";
    case JsonKind::Object:
        return "an object";
    }
    return "";
}

std::string ValueText(const JsonValue& value) {
    switch (value.kind) {
    case JsonKind::Null:
        return "null";
    case JsonKind::Bool:
        return value.boolean != 0 ? "true" : "false";
    case JsonKind::Integer:
        return std::to_string(value.integer);
    case JsonKind::Double: {
        const std::string text = NumberText(value.real);
        return text.find_first_not_of("-0123456789") == std::string::npos ? text + ".0" : text;
    }
    case JsonKind::String:
        return Quoted(GetJsonString(value));
    case JsonKind::Array:
        return "[...]";
    case JsonKind::Object:
        return "{...}";
    }
    return {};
}

} // namespace zq
