#include "check/Checks.h"

#include "save/DocumentText.h"

#include <rapidjson/memorystream.h>

#include <algorithm>
#include <array>

namespace zq {

namespace {

// Problems for which a save cannot read the file, either.
constexpr std::array<std::string_view, 11> kKnown = {
    "missing-comma", "trailing-comma", "odd-number", "literal-case", "raw-control",   "lost-escape",
    "wrong-escape",  "lone-sign",      "lost-unit",  "backslash",    "zero-character"};

bool IsKnown(const Problem& problem) {
    return std::find(kKnown.begin(), kKnown.end(), problem.code) != kKnown.end();
}

} // namespace

void CheckSaving(std::string_view bytes, const SourceText& source, Problems& problems) {
    if (std::any_of(problems.begin(), problems.end(), IsKnown)) {
        return;
    }
    EditableDocument document;
    rapidjson::MemoryStream stream(bytes.data(), bytes.size());
    if (ParseDocument(document, stream) == 0) {
        return;
    }
    const auto offset =
        static_cast<int32_t>(std::min(document.GetErrorOffset(), static_cast<size_t>(source.Length())));
    AddWarning(problems, "unsavable", offset, offset,
               "the module reads the file, but nothing can be saved to it: what is here is not JSON",
               "write JSON as other programs do");
}

} // namespace zq
