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

// Whether the module skips all of the text.
bool IsBlank(std::wstring_view text);

// Checks what follows the end of the document.
void CheckEnd(std::wstring_view text, const DocumentMap& document, Problems& problems);

// Checks for numbers, literals, texts and names that are read as something else or that a save spoils.
void CheckTokens(std::wstring_view text, const DocumentMap& document, Problems& problems);
// Whether the problems of the tokens show that the reader and the author disagree on what is a text: a
// quote is missing, and the file is readable only by accident.
bool IsMisread(const Problems& tokenProblems);

// Checks for missing and surplus commas.
void CheckCommas(std::wstring_view text, const DocumentMap& document, Problems& problems);

// The others work on the original text: the offsets of `document` are its own.

// Checks for keys that occur twice in one object.
void CheckDuplicates(const SourceText& source, const DocumentMap& document, Problems& problems);

// Checks for keys that look like a misspelt key of the default file. A key is not reported if its object
// also has the right one.
void CheckSpelling(const DocumentMap& document, const DefaultFile& defaults, Problems& problems);

// Checks for members that the schema of the file forbids, and for groups and lists of the wrong kind.
void CheckMembers(ConfigFile file, const DocumentMap& document, Problems& problems);

// Checks for values whose type differs from that in the schema or the default file, and for values out of
// range.
void CheckValues(const std::vector<PlacedVariable>& variables, const DefaultFile& defaults,
                 Problems& problems);

// Checks members of the settings against each other: DHI and the list of headsets, a bitrate and its
// maximum.
void CheckReferences(const std::vector<PlacedVariable>& variables, Problems& problems);

// Returns whether a save can read the file. If it cannot and no other problem says why, adds one.
bool CheckSaving(std::string_view bytes, const SourceText& source, Problems& problems);

} // namespace zq
