#include "check/Checks.h"
#include "check/Quote.h"

#include "base/Text.h"

#include <algorithm>

namespace zq {

namespace {

void CheckMark(const SourceText& source, Problems& problems) {
    constexpr const char* kFix = "save it as UTF-8 without a byte order mark";
    switch (source.GetEncoding()) {
    case Encoding::MarkedUtf8:
        AddError(problems, "byte-order-mark", 0, 0,
                 "the file begins with a byte order mark, three bytes that the module does not expect", kFix);
        break;
    case Encoding::Utf16Little:
    case Encoding::Utf16Big:
        AddError(problems, "utf-16", 0, 0, "the file is in UTF-16, which the module cannot read", kFix);
        break;
    case Encoding::Utf32Little:
    case Encoding::Utf32Big:
        AddError(problems, "utf-32", 0, 0, "the file is in UTF-32, which the module cannot read", kFix);
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

// Whether the machine's code page makes one character of each byte. Then the module reads other characters;
// otherwise it refuses the file.
bool IsOneUnitPerByte(std::wstring_view characters, Encoding encoding) {
    const uint32_t codePage = encoding == Encoding::CodePage ? kCodePageAnsi : kCodePageUtf8;
    const std::string bytes = BytesFromWide(codePage, characters);
    return WideFromBytes(kCodePageAnsi, bytes.data(), static_cast<int32_t>(bytes.size())).size() ==
           bytes.size();
}

// Each run of characters beyond ASCII is one problem.
void CheckCharacters(const SourceText& source, const TextEdits& handled, Problems& problems) {
    std::vector<bool> isHandled(source.Text().size(), false);
    for (const TextEdit& edit : handled) {
        std::fill(isHandled.begin() + edit.begin, isHandled.begin() + edit.end, true);
    }
    const std::wstring_view text = source.Text();
    const auto isWrong = [&](size_t i) { return text[i] >= 0x80 && !isHandled[i]; };
    for (size_t begin = 0; begin < text.size();) {
        size_t end = begin;
        while (end < text.size() && isWrong(end)) {
            ++end;
        }
        if (end == begin) {
            ++begin;
            continue;
        }
        const std::wstring_view characters = text.substr(begin, end - begin);
        Problem& problem = AddError(
            problems, "non-ascii", static_cast<int32_t>(begin), static_cast<int32_t>(end),
            Quoted(characters) + " is not ASCII: the module reads other characters or refuses "
                                 "the file, depending on the machine's code page",
            "write " + Utf8(Escapes(characters.substr(0, 8))) + (characters.size() > 8 ? " ..." : ""));
        if (IsOneUnitPerByte(characters, source.GetEncoding())) {
            problem.severity = Severity::Warning;
        }
        begin = end;
    }
}

void CheckZeroBytes(const SourceText& source, Problems& problems) {
    const int32_t length = source.Length();
    if (source.ZeroBytes() > 0 && length == 0) {
        AddError(problems, "zero-file", 0, 0,
                 "the file holds nothing but zero bytes; was it written when the machine lost power?",
                 "restore it from a copy");
    } else if (source.ZeroBytes() > 0) {
        AddError(problems, "zero-bytes", length, length,
                 "the file ends in zero bytes (" + std::to_string(source.ZeroBytes()) +
                     "), as after a power cut",
                 "remove them, and check whether anything before them is missing");
    }
}

} // namespace

bool IsBlank(std::wstring_view text) {
    return std::all_of(text.begin(), text.end(), [](wchar_t unit) { return unit <= 32; });
}

void CheckEncoding(const SourceText& source, const TextEdits& handled, Problems& problems) {
    CheckMark(source, problems);
    CheckCharacters(source, handled, problems);
    CheckZeroBytes(source, problems);
}

void CheckEnd(std::wstring_view text, const DocumentMap& document, Problems& problems) {
    const int32_t end = document.Result();
    const auto length = static_cast<int32_t>(text.size());
    if (end < 1 || end >= length) {
        return;
    }
    const std::wstring_view rest = text.substr(static_cast<size_t>(end));
    const bool isBlank = IsBlank(rest);
    const bool isLineBreak = isBlank && rest.find_first_of(L"\r\n") != std::wstring_view::npos;
    AddError(problems, "trailing", end, length,
             isLineBreak ? "a line break follows the end of the document"
             : isBlank   ? "blanks follow the end of the document"
                         : "text follows the end of the document",
             "remove it: the file must end with its last " +
                 Quoted(text.substr(static_cast<size_t>(end) - 1, 1)),
             isBlank ? TextEdits{{end, length, L""}} : TextEdits());
}

} // namespace zq
