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

// What a file's flattener reads of a document: a role for each container, given when it opens. What nobody
// reads is checked by the same grammar, to the same result, but not built: it is an empty container of its
// kind in the tree.
inline constexpr uint8_t kJsonUnread = 0;
// The parent of the root.
inline constexpr uint8_t kJsonDocument = 1;
// Part of the role of an array of which only the objects are read: nothing else of it is in the tree.
inline constexpr uint8_t kJsonObjectsOnly = 0x80;

// The role of a container under a parent with a role; `key` is empty for an element of an array.
using JsonRoleOf = uint8_t (*)(uint8_t parent, bool isObject, std::wstring_view key);

// Takes parts of a document while the rest is still being read, so that they need not stay in memory. Each
// function is offered a small container that has just been read, and returns whether it took it.
class JsonConsumer {
public:
    // A member of the root. Where it is taken, an empty container of its kind takes its place.
    virtual bool TakeMember(std::wstring_view key, const JsonValue& member) = 0;
    // An element of an array that is a member of the root under `key`. Where it is taken, the array has no
    // such element.
    virtual bool TakeElement(std::wstring_view key, const JsonValue& element) = 0;

protected:
    ~JsonConsumer() = default;
};

// Reads one value, after any white space, into `root`, which is null before and after a failure. White space
// after the value is not consumed. A null `text` or a `length` below 1 gives -1; a unit that cannot start a
// value gives minus its position, counted from 1. Without `roleOf` everything is read. `consumer` may be
// null; the keys and nodes of what it takes are freed, the texts stay as long as the root's.
int32_t ParseJsonValue(JsonRoot& root, const wchar_t* text, int32_t length, JsonRoleOf roleOf = nullptr,
                       JsonConsumer* consumer = nullptr);

// The same of bytes that are one character each. The tree does not point into them.
int32_t ParseJsonValue(JsonRoot& root, const JsonBytes& bytes, JsonRoleOf roleOf = nullptr,
                       JsonConsumer* consumer = nullptr);

// The same, and reports to `trace` what it comes across.
int32_t ParseJsonValue(JsonRoot& root, const wchar_t* text, int32_t length, JsonTrace& trace);

// The parts of a value. Each is called at the first unit of its token with the units that remain.

// A container that fails gives minus the units consumed before its failing element, and -1 where no closing
// brace or bracket follows at all.
int32_t ParseJsonObject(JsonRoot& root, const wchar_t* text, int32_t length);
int32_t ParseJsonArray(JsonRoot& root, const wchar_t* text, int32_t length);

} // namespace zq
