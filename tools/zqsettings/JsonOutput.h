// JSON as the commands print it with --json: one document, indented by two blanks, UTF-8.
#pragma once

#include "VariableListing.h"

#include "save/RapidJson.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <string>

namespace zq::tool {

using JsonWriter = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

void WriteText(JsonWriter& writer, const std::string& text);
void WriteMember(JsonWriter& writer, const char* name, const std::string& text);
void WriteMember(JsonWriter& writer, const char* name, int64_t number);
void WriteMember(JsonWriter& writer, const char* name, bool truth);
// As in a literal, which would otherwise become a bool.
inline void WriteMember(JsonWriter& writer, const char* name, const char* text) {
    WriteMember(writer, name, std::string(text));
}
// Binary values are hexadecimal digits; a double that JSON cannot hold is the string "NaN", "Infinity" or
// "-Infinity".
void WriteValue(JsonWriter& writer, const VariableValue& value);

// What `write(writer)` writes, as text with a line end.
template <class Write>
std::string JsonDocument(Write write) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer(buffer);
    writer.SetIndent(' ', 2);
    write(writer);
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

} // namespace zq::tool
