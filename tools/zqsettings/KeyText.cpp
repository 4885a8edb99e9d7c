#include "KeyText.h"

#include "JsonOutput.h"
#include "Text.h"
#include "VariableText.h"

namespace zq::tool {

namespace {

std::string Line(const char* heading, const std::string& text) {
    return text.empty() ? "" : std::string("  ") + heading + text + '\n';
}

std::string DefaultText(const SchemaRule& rule) {
    const JsonValue* const value = rule.Default();
    return value ? zq::ValueText(*value) : "";
}

std::string FileText(const KeyDescription& description) {
    return description.file ? Utf8FromWide(NameOfConfigFile(*description.file)) : "the module itself";
}

void WriteJson(JsonWriter& writer, const JsonValue& value) {
    switch (value.kind) {
    case JsonKind::Bool:
        writer.Bool(value.boolean != 0);
        break;
    case JsonKind::Integer:
        writer.Int64(value.integer);
        break;
    case JsonKind::Double:
        writer.Double(value.real);
        break;
    default:
        WriteText(writer, Utf8FromWide(GetJsonString(value)));
        break;
    }
}

void WriteLimit(JsonWriter& writer, const char* name, const std::optional<double>& limit) {
    if (limit) {
        writer.Key(name);
        writer.Double(*limit);
    }
}

void WriteTextIfAny(JsonWriter& writer, const char* name, const std::string& text) {
    if (!text.empty()) {
        WriteMember(writer, name, text);
    }
}

bool IsScalar(const JsonValue* value) {
    return value && value->kind != JsonKind::Array && value->kind != JsonKind::Object &&
           value->kind != JsonKind::Null;
}

void WriteDescription(JsonWriter& writer, const KeyDescription& description) {
    const SchemaRule& rule = description.rule;
    WriteMember(writer, "pattern", Utf8FromWide(description.pattern));
    WriteMember(writer, "type", rule.TypeText());
    WriteTextIfAny(writer, "description", Utf8FromWide(rule.Description()));
    WriteTextIfAny(writer, "unit", Utf8FromWide(rule.Unit()));
    WriteTextIfAny(writer, "range", RangeText(rule));
    WriteLimit(writer, "minimum", rule.Minimum());
    WriteLimit(writer, "maximum", rule.Maximum());
    if (const std::vector<std::wstring_view> choices = rule.Choices(); !choices.empty()) {
        writer.Key("choices");
        writer.StartArray();
        for (const std::wstring_view choice : choices) {
            WriteText(writer, Utf8FromWide(choice));
        }
        writer.EndArray();
    }
    if (IsScalar(rule.Default())) {
        writer.Key("default");
        WriteJson(writer, *rule.Default());
    }
    if (description.file) {
        WriteMember(writer, "file", Utf8FromWide(NameOfConfigFile(*description.file)));
    }
}

} // namespace

std::string DescriptionText(const std::wstring& name, const KeyDescription& description) {
    const SchemaRule& rule = description.rule;
    std::string text = Printable(name) + '\n';
    text += Line("", Utf8FromWide(rule.Description()));
    text += Line("type     ", rule.TypeText());
    text += Line("range    ", RangeText(rule));
    if (RangeText(rule).empty()) {
        text += Line("unit     ", Utf8FromWide(rule.Unit()));
    }
    text += Line("default  ", DefaultText(rule));
    return text + Line("set by   ", FileText(description));
}

std::string DescriptionsJson(const std::vector<std::wstring>& names) {
    return JsonDocument([&](JsonWriter& writer) {
        writer.StartArray();
        for (const std::wstring& name : names) {
            writer.StartObject();
            WriteMember(writer, "name", Utf8FromWide(name));
            if (const auto description = DescribeKey(name)) {
                WriteDescription(writer, *description);
            }
            writer.EndObject();
        }
        writer.EndArray();
    });
}

std::string LongTableText(const std::vector<Variable>& variables) {
    std::string text;
    for (const Variable& variable : variables) {
        text += Printable(variable.name) + "  " + VariableTypeName(variable.Type()) + "  " +
                ValueText(variable.value) + '\n';
        if (const auto description = DescribeKey(variable.name)) {
            const std::string range = RangeText(description->rule);
            const std::string fallback = DefaultText(description->rule);
            text += Line("", Utf8FromWide(description->rule.Description()));
            text += Line("", description->rule.TypeText() + (range.empty() ? "" : ", " + range) +
                                 (fallback.empty() ? "" : ", default " + fallback));
        }
    }
    return text + Counted(variables.size(), "variable") + '\n';
}

} // namespace zq::tool
