#include "JsonOutput.h"

#include "Overloads.h"
#include "Text.h"
#include "VariableText.h"

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
        writer.Key(oldName);
        WriteAnyValue(writer, *change.oldValue);
    }
    if (change.newValue) {
        writer.Key(newName);
        WriteAnyValue(writer, *change.newValue);
    }
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

} // namespace zq::tool
