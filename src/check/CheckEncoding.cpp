#include "check/Checks.h"
#include "check/Quote.h"

#include <algorithm>

namespace zq {

namespace {

void CheckMark(const SourceText& source, Problems& problems) {
    constexpr const char* kMend = "save it as \"UTF-8\" without a byte order mark";
    switch (source.GetEncoding()) {
    case Encoding::MarkedUtf8:
        AddError(problems, "byte-order-mark", 0, 0,
                 "the file begins with a byte order mark, which counts as three bytes too many", kMend);
        break;
    case Encoding::Utf16Little:
    case Encoding::Utf16Big:
        AddError(problems, "utf-16", 0, 0, "the file is in UTF-16, of which the module reads nothing", kMend);
        break;
    default:
        break;
    }
}

std::wstring Escapes(std::wstring_view characters) {
    std::wstring escapes;
    for (const wchar_t unit : characters) {
        escapes += HexEscapeOf(unit);
    }
    return escapes;
}

// Each run of characters beyond ASCII is one problem.
void CheckCharacters(const SourceText& source, Problems& problems) {
    const std::wstring& text = source.Text();
    const auto isAscii = [](wchar_t unit) { return unit < 0x80; };
    for (auto run = std::find_if_not(text.begin(), text.end(), isAscii); run != text.end();) {
        const auto end = std::find_if(run, text.end(), isAscii);
        const std::wstring_view characters(run, end);
        AddError(problems, "non-ascii", static_cast<int32_t>(run - text.begin()),
                 static_cast<int32_t>(end - text.begin()),
                 Quoted(characters) +
                     " is not ASCII: it takes more bytes than it counts as, or is read by the "
                     "code page of the machine",
                 "write " + Utf8(Escapes(characters.substr(0, 8))) + (characters.size() > 8 ? " ..." : ""));
        run = std::find_if_not(end, text.end(), isAscii);
    }
}

bool IsBlank(wchar_t unit) { return unit <= 32; }

void CheckEnd(const SourceText& source, const DocumentMap& document, Problems& problems) {
    const std::wstring& text = source.Text();
    const int32_t length = source.Length();
    const int32_t end = document.Result();
    if (end >= 1 && end < length) {
        const bool isBlank = std::all_of(text.begin() + end, text.end(), IsBlank);
        const bool isLineBreak =
            isBlank && text.find_first_of(L"\r\n", static_cast<size_t>(end)) != std::wstring::npos;
        AddError(problems, "trailing", end, length,
                 isLineBreak ? "a line break follows the end of the document"
                 : isBlank   ? "blanks follow the end of the document"
                             : "text follows the end of the document",
                 "the file must end with its last " +
                     Quoted(std::wstring_view(text).substr(static_cast<size_t>(end) - 1, 1)));
    }
    if (source.ZeroBytes() > 0) {
        AddError(problems, "zero-bytes", length, length,
                 "the file ends in " + std::to_string(source.ZeroBytes()) +
                     " zero characters, as a power cut leaves them",
                 "take them away, and look whether anything is missing in front of them");
    }
}

} // namespace

void CheckEncoding(const SourceText& source, const DocumentMap& document, Problems& problems) {
    CheckMark(source, problems);
    CheckCharacters(source, problems);
    CheckEnd(source, document, problems);
}

} // namespace zq
