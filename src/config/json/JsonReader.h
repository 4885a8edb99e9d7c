// The module's own JSON reader: lenient in places (commas may be missing, literals in any letter case),
// strict or lossy in others (no exponents, a few escapes lost). These traits are the format of the
// configuration files.
//
// Every function returns a count of UTF-16 units: positive for units consumed, below 1 for failure. The
// caller compares the count with the file's length, so it matters to the unit.
//
// Nesting costs heap, not stack. A tree is built in one pass; the texts of the tree point into `text`, which
// must outlive it. Running out of memory raises std::bad_alloc. Portable; nothing is logged.
//
// White space is every unit from 1 to 32.
#pragma once

#include "config/json/JsonScalar.h"
#include "config/json/JsonValue.h"

#include <cstdint>
#include <string_view>

namespace zq {

class JsonTrace;

// Reads one value, after any white space, into `root`, which is null before and after a failure. White space
// after the value is not consumed. A null `text` or a `length` below 1 gives -1; a unit that cannot start a
// value gives minus its position, counted from 1.
int32_t ParseJsonValue(JsonRoot& root, const wchar_t* text, int32_t length);

// The same, and reports to `trace` what it comes across.
int32_t ParseJsonValue(JsonRoot& root, const wchar_t* text, int32_t length, JsonTrace& trace);

// The parts of a value. Each is called at the first unit of its token with the units that remain.

// A container that fails gives minus the units consumed before its failing element, and -1 where no closing
// brace or bracket follows at all.
int32_t ParseJsonObject(JsonRoot& root, const wchar_t* text, int32_t length);
int32_t ParseJsonArray(JsonRoot& root, const wchar_t* text, int32_t length);

} // namespace zq
