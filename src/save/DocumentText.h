// A document as text: how the save path reads and writes it, on any stream of the JSON library.
//
// Portable.
#pragma once

#include "save/RapidJson.h"

#include <rapidjson/prettywriter.h>

#include <cstddef>
#include <cstdint>

namespace zq {

// Returns 0 or the library's parse error code. However deep the text, the stack does not grow with it.
template <class Stream>
int32_t ParseDocument(EditableDocument& document, Stream& stream) {
    document.ParseStream<rapidjson::kParseIterativeFlag>(stream);
    return document.HasParseError() ? document.GetParseError() : 0;
}

// How deep a document may be that is written: the writer recurses once a level. No file of settings comes
// near it.
inline constexpr size_t kDeepestWritable = 256;

// 4 blanks of indentation, at most 4 decimal places, ASCII escapes, nothing behind the root. The document
// must pass IsWritable. Takes no memory: whoever writes over a file cannot be left with half of it for want
// of some.
template <class Stream>
void WriteDocument(const EditableDocument& document, Stream& stream) {
    using Text = rapidjson::UTF8<>;
    using Writer = rapidjson::PrettyWriter<Stream, Text, Text, JsonPool>;
    constexpr size_t kLevelBytes = 32; // more than the writer keeps of one
    constexpr int kDecimalPlaces = 4;
    alignas(std::max_align_t) char levels[(kDeepestWritable + 1) * kLevelBytes];
    JsonPool pool(levels, sizeof(levels));
    Writer writer(stream, &pool, kDeepestWritable);
    writer.SetMaxDecimalPlaces(kDecimalPlaces);
    document.Accept(writer);
}

} // namespace zq
