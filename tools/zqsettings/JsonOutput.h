// JSON as the commands print it with --json: one document, indented by two blanks, UTF-8. Each form has a
// schema in schemas/output/.
#pragma once

#include "VariableDifference.h"
#include "VariableListing.h"

#include "check/Problem.h"
#include "check/SourceText.h"
#include "save/RapidJson.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <string>
#include <string_view>

namespace zq::tool {

// Both writers of the library: documents are indented, messages take one line each.
using JsonWriter = rapidjson::PrettyWriter<rapidjson::StringBuffer>;
using LineWriter = rapidjson::Writer<rapidjson::StringBuffer>;

template <class Writer>
void WriteText(Writer& writer, std::string_view text) {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

template <class Writer>
void WriteMember(Writer& writer, const char* name, std::string_view text) {
    writer.Key(name);
    WriteText(writer, text);
}

template <class Writer>
void WriteMember(Writer& writer, const char* name, int64_t number) {
    writer.Key(name);
    writer.Int64(number);
}

template <class Writer>
void WriteMember(Writer& writer, const char* name, bool truth) {
    writer.Key(name);
    writer.Bool(truth);
}

// As in a literal, which would otherwise become a bool.
template <class Writer>
void WriteMember(Writer& writer, const char* name, const char* text) {
    WriteMember(writer, name, std::string_view(text));
}

// A value as JSON's own type. Binary values are hexadecimal digits; a double that JSON cannot hold is the
// string "NaN", "Infinity" or "-Infinity".
void WriteValue(JsonWriter& writer, const VariableValue& value);
void WriteValue(LineWriter& writer, const VariableValue& value);

// {"name", "types", "old", "new"}; `oldName` and `newName` are those of the last two. What is not known is
// left out. A message has an integer that readers round as a string too, as "oldText" or the like.
void WriteChange(JsonWriter& writer, const VariableChange& change, const char* oldName, const char* newName);
void WriteChange(LineWriter& writer, const VariableChange& change, const char* oldName, const char* newName);

// A finding of the checker.
void WriteProblem(JsonWriter& writer, const SourceText& source, const Problem& problem);
void WriteProblem(LineWriter& writer, const SourceText& source, const Problem& problem);

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
