// The checks of one document, each over what the reader came across. An Error is what makes the module refuse
// the file; a Warning tells what is dropped, or read otherwise than a JSON reader would.
//
// Portable. Each appends to `problems`, in no particular order.
#pragma once

#include "check/DocumentMap.h"
#include "check/Problem.h"
#include "check/SourceText.h"

#include <set>
#include <string>
#include <string_view>

namespace zq {

using KnownKeys = std::set<std::wstring, std::less<>>;

// Marks, UTF-16, zero bytes, characters of several bytes, and what stands behind the end.
void CheckEncoding(const SourceText& source, const DocumentMap& document, Problems& problems);

// The reason for which the text cannot be read to its end.
void CheckFault(const SourceText& source, const DocumentMap& document, Problems& problems);

// Numbers, literals, texts and names that are read otherwise than they stand.
void CheckTokens(const SourceText& source, const DocumentMap& document, Problems& problems);

// Commas that are missing or too many, and keys that come twice in one object.
void CheckStructure(const SourceText& source, const DocumentMap& document, Problems& problems);

// Keys that look like a misspelt one of `known`. None is looked for in an object that has the right one too.
void CheckSpelling(const DocumentMap& document, const KnownKeys& known, Problems& problems);

} // namespace zq
