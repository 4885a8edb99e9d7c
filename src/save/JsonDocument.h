// A JSON document from the bytes of a whole file and back.
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

// Parses as a save does; on failure the document says what is wrong and where. However deep the text, the
// stack does not grow with it. Returns whether it is a document. Raises std::bad_alloc.
bool ParseDocument(EditableDocument& document, std::string_view bytes);

// Hands out the document and returns 0; returns 1 for fewer than 4 bytes, else the library's parse error
// code. However deep the text, the stack does not grow with it. Raises std::bad_alloc.
int32_t ParseJsonDoc(std::string_view bytes, std::unique_ptr<EditableDocument>& document);

// The text of a document: 4 blanks of indentation, at most 4 decimal places, ASCII escapes, no byte order
// mark, nothing after the root. Numbers of 1e21 and more are written in plain digits, so that the module
// reads them again. Raises std::bad_alloc.
//
// REQUIRES: IsWritable(document).
void WriteJsonDoc(const EditableDocument& document, DocumentBuffer& text);

} // namespace zq
