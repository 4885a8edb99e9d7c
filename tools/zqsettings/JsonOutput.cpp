#include "JsonOutput.h"

#include "Overloads.h"
#include "Text.h"
#include "VariableText.h"

#include <cmath>

namespace zq::tool {

namespace {

void WriteDouble(JsonWriter& writer, double value) {
    if (std::isfinite(value)) {
        writer.Double(value);
    } else {
        WriteText(writer, std::isnan(value) ? "NaN" : value > 0 ? "Infinity" : "-Infinity");
    }
}

} // namespace

void WriteText(JsonWriter& writer, const std::string& text) {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void WriteMember(JsonWriter& writer, const char* name, const std::string& text) {
    writer.Key(name);
    WriteText(writer, text);
}

void WriteMember(JsonWriter& writer, const char* name, int64_t number) {
    writer.Key(name);
    writer.Int64(number);
}

void WriteMember(JsonWriter& writer, const char* name, bool truth) {
    writer.Key(name);
    writer.Bool(truth);
}

void WriteValue(JsonWriter& writer, const VariableValue& value) {
    std::visit(Overloads{
                   [&](ZQBool truth) { writer.Bool(truth != 0); },
                   [&](int64_t number) { writer.Int64(number); },
                   [&](double number) { WriteDouble(writer, number); },
                   [&](const std::wstring& text) { WriteText(writer, Utf8FromWide(text)); },
                   [&](const std::vector<uint8_t>& bytes) { WriteText(writer, HexText(bytes, "")); },
               },
               value);
}

} // namespace zq::tool
