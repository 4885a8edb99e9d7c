#include "check/Checks.h"

#include "save/JsonDocument.h"

#include <algorithm>
#include <array>

namespace zq {

namespace {

// Problems that also keep a save from reading the file.
constexpr std::array<std::string_view, 11> kKnown = {
    "missing-comma", "trailing-comma", "odd-number", "literal-case", "raw-control",   "lost-escape",
    "wrong-escape",  "lone-sign",      "lost-unit",  "backslash",    "zero-character"};

bool IsKnown(const Problem& problem) {
    return std::find(kKnown.begin(), kKnown.end(), problem.code) != kKnown.end();
}

} // namespace

bool CheckSaving(std::string_view bytes, const SourceText& source, Problems& problems) {
    EditableDocument document;
    if (ParseDocument(document, bytes)) {
        return true;
    }
    if (std::none_of(problems.begin(), problems.end(), IsKnown)) {
        const auto offset =
            static_cast<int32_t>(std::min(document.GetErrorOffset(), static_cast<size_t>(source.Length())));
        AddWarning(problems, "unsavable", offset, offset,
                   "what is here is not JSON, though the module reads it", "write it as other programs do");
    }
    return false;
}

} // namespace zq
