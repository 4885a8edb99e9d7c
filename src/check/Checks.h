// The checks of one document. An Error is what makes the module refuse the file; a Warning is about what is
// dropped, read as something else, or in the way of saves.
//
// Portable. Each appends to `problems`, in no particular order.
#pragma once

#include "check/DefaultFile.h"
#include "check/DocumentMap.h"
#include "check/Problem.h"
#include "check/SourceText.h"

#include <string_view>
#include <vector>

namespace zq {

struct PlacedVariable;

// Marks, UTF-16 and UTF-32, zero bytes, and characters of several bytes, except those that `handled`
// replaces.
void CheckEncoding(const SourceText& source, const TextEdits& handled, Problems& problems);

// The next three work on the text that `document` was read from, edited or not.

// What follows the end.
void CheckEnd(std::wstring_view text, const DocumentMap& document, Problems& problems);

// Numbers, literals, texts and names that are read as something else, and those that a save spoils.
void CheckTokens(std::wstring_view text, const DocumentMap& document, Problems& problems);
// Whether the problems of the tokens show that the reader took something else for a text than the author: a
// quote is missing, and the text is readable only by accident.
bool IsMisread(const Problems& tokenProblems);

// Commas that are missing or surplus.
void CheckCommas(std::wstring_view text, const DocumentMap& document, Problems& problems);

// The others work on the original text: the offsets of `document` are its own.

// Keys that come twice in one object.
void CheckDuplicates(const SourceText& source, const DocumentMap& document, Problems& problems);

// Keys that look like a misspelt one of the default file. None is looked for in an object that also has the
// right one.
void CheckSpelling(const DocumentMap& document, const DefaultFile& defaults, Problems& problems);

// Members that the schema of the file forbids, and groups and lists of the wrong kind.
void CheckMembers(ConfigFile file, const DocumentMap& document, Problems& problems);

// Values of another type than the schema or the default file has, and values out of range.
void CheckValues(const std::vector<PlacedVariable>& variables, const DefaultFile& defaults,
                 Problems& problems);

// What one member of the settings says of another: DHI and the list of headsets, a bitrate and its maximum.
void CheckReferences(const std::vector<PlacedVariable>& variables, Problems& problems);

// Returns whether a save can read the file. Where it cannot and no other problem says why, adds one.
bool CheckSaving(std::string_view bytes, const SourceText& source, Problems& problems);

} // namespace zq
