#include "JsonOutput.h"

#include "Overloads.h"
#include "Text.h"
#include "VariableText.h"

#include <algorithm>
#include <type_traits>

namespace zq::tool {

namespace {

template <class Writer>
void WriteDouble(Writer& writer, double value) {
    if (std::isfinite(value)) {
        writer.Double(value);
    } else {
        WriteText(writer, std::isnan(value) ? "NaN" : value > 0 ? "Infinity" : "-Infinity");
    }
}

template <class Writer>
void WriteAnyValue(Writer& writer, const VariableValue& value) {
    std::visit(Overloads{
                   [&](ZQBool truth) { writer.Bool(truth != 0); },
                   [&](int64_t number) { writer.Int64(number); },
                   [&](double number) { WriteDouble(writer, number); },
                   [&](const std::wstring& text) { WriteText(writer, Utf8FromWide(text)); },
                   [&](const std::vector<uint8_t>& bytes) { WriteText(writer, HexText(bytes, "")); },
               },
               value);
}

// Readers that keep numbers as doubles round integers beyond.
constexpr int64_t kLargestExact = (int64_t{1} << 53) - 1;

template <class Writer>
void WriteNamedValue(Writer& writer, const std::string& name, const VariableValue& value) {
    writer.Key(name.c_str());
    WriteAnyValue(writer, value);
    if constexpr (std::is_same_v<Writer, LineWriter>) {
        const auto* const integer = std::get_if<int64_t>(&value);
        if (integer && (*integer > kLargestExact || *integer < -kLargestExact)) {
            const std::string textName = name == "value" ? "text" : name + "Text";
            WriteMember(writer, textName.c_str(), std::to_string(*integer));
        }
    }
}

template <class Writer>
void WriteAnyChange(Writer& writer, const VariableChange& change, const char* oldName, const char* newName) {
    writer.StartObject();
    WriteMember(writer, "name", Utf8FromWide(change.name));
    writer.Key("types");
    writer.StartArray();
    for (const VariableType type : change.types) {
        WriteText(writer, VariableTypeName(type));
    }
    writer.EndArray();
    if (change.oldValue) {
        WriteNamedValue(writer, oldName, *change.oldValue);
    }
    if (change.newValue) {
        WriteNamedValue(writer, newName, *change.newValue);
    }
    writer.EndObject();
}

template <class Writer>
void WriteAnyProblem(Writer& writer, const SourceText& source, const Problem& problem) {
    const TextPosition begin = source.PositionOf(problem.begin);
    const TextPosition end = source.PositionOf(std::max(problem.begin, problem.end));
    writer.StartObject();
    WriteMember(writer, "severity", problem.severity == Severity::Error ? "error" : "warning");
    WriteMember(writer, "code", problem.code);
    WriteMember(writer, "line", int64_t{begin.line});
    WriteMember(writer, "column", int64_t{begin.column});
    WriteMember(writer, "endLine", int64_t{end.line});
    WriteMember(writer, "endColumn", int64_t{end.column});
    WriteMember(writer, "text", problem.text);
    WriteMember(writer, "fix", problem.fix);
    writer.EndObject();
}

} // namespace

void WriteValue(JsonWriter& writer, const VariableValue& value) { WriteAnyValue(writer, value); }
void WriteValue(LineWriter& writer, const VariableValue& value) { WriteAnyValue(writer, value); }

void WriteChange(JsonWriter& writer, const VariableChange& change, const char* oldName, const char* newName) {
    WriteAnyChange(writer, change, oldName, newName);
}
void WriteChange(LineWriter& writer, const VariableChange& change, const char* oldName, const char* newName) {
    WriteAnyChange(writer, change, oldName, newName);
}

void WriteProblem(JsonWriter& writer, const SourceText& source, const Problem& problem) {
    WriteAnyProblem(writer, source, problem);
}
void WriteProblem(LineWriter& writer, const SourceText& source, const Problem& problem) {
    WriteAnyProblem(writer, source, problem);
}

} // namespace zq::tool
