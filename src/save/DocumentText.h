// A document as text: how the save path reads and writes it, on any stream of the JSON library.
//
// Portable.
#pragma once

#include "save/RapidJson.h"

#include <rapidjson/prettywriter.h>

#include <cstdint>

namespace zq {

// Returns 0 or the library's parse error code. However deep the text, the stack does not grow with it.
template <class Stream>
int32_t ParseDocument(rapidjson::Document& document, Stream& stream) {
    document.ParseStream<rapidjson::kParseIterativeFlag>(stream);
    return document.HasParseError() ? document.GetParseError() : 0;
}

// 4 blanks of indentation, at most 4 decimal places, ASCII escapes, nothing behind the root. The document
// must pass IsWritable.
template <class Stream>
void WriteDocument(const rapidjson::Document& document, Stream& stream) {
    constexpr int kDecimalPlaces = 4;
    rapidjson::PrettyWriter<Stream> writer(stream);
    writer.SetMaxDecimalPlaces(kDecimalPlaces);
    document.Accept(writer);
}

} // namespace zq
