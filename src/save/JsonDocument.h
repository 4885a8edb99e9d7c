// Converts the bytes of a whole file to a JSON document and back.
//
// Portable: the file itself is read and written by SaveOperations.
#pragma once

#include "save/RapidJson.h"

#include <rapidjson/stringbuffer.h>

#include <cstdint>
#include <memory>
#include <string_view>

namespace zq {

using DocumentBuffer = rapidjson::GenericStringBuffer<rapidjson::UTF8<>, RaisingAllocator>;

// Parses as a save does; on failure the document says what is wrong and where. The stack does not grow
// with the depth of the text. Returns whether it is a document. Raises std::bad_alloc.
bool ParseDocument(EditableDocument& document, std::string_view bytes);

// Returns 0 and the document; returns 1 for fewer than 4 bytes, else the library's parse error code. The
// stack does not grow with the depth of the text. Raises std::bad_alloc.
int32_t ParseJsonDoc(std::string_view bytes, std::unique_ptr<EditableDocument>& document);

// Returns the text of a document: indented by 4 spaces, at most 4 decimal places, ASCII escapes, no byte
// order mark, nothing after the root. Numbers of 1e21 and more are written in plain digits, so that the
// module can read them again. Raises std::bad_alloc.
//
// REQUIRES: IsWritable(document).
void WriteJsonDoc(const EditableDocument& document, DocumentBuffer& text);

} // namespace zq
