#include "check/LenientToken.h"

#include "check/Quote.h"

#include "config/json/JsonScalar.h"

#include <algorithm>

namespace zq {

namespace {

using TokenKind = LenientToken::Kind;

bool IsSpace(wchar_t unit) { return unit >= 1 && unit <= 32; }
bool IsLineBreak(wchar_t unit) { return unit == L'\n' || unit == L'\r'; }

bool IsInvisible(wchar_t unit) {
    return unit == 0x00AD || (unit >= 0x200B && unit <= 0x200D) || unit == 0x2060 || unit == 0xFEFF;
}

bool IsOddBlank(wchar_t unit) {
    return IsInvisible(unit) || unit == 0x0085 || unit == 0x00A0 || unit == 0x1680 ||
           (unit >= 0x2000 && unit <= 0x200A) || unit == 0x2028 || unit == 0x2029 || unit == 0x202F ||
           unit == 0x205F || unit == 0x3000;
}

constexpr std::wstring_view kDoubleQuotes = L"\u201C\u201D\u201E\u201F\u2033\u00AB\u00BB\uFF02";
constexpr std::wstring_view kSingleQuotes = L"'`\u00B4\u2018\u2019\u201A\u201B\u2032";

bool IsOneOf(wchar_t unit, std::wstring_view units) {
    return unit != 0 && units.find(unit) != std::wstring_view::npos;
}

bool IsCurly(wchar_t unit) {
    return unit >= 0x80 && (IsOneOf(unit, kDoubleQuotes) || IsOneOf(unit, kSingleQuotes));
}

// In a pair of quotes of this kind, whether the unit can be the second one.
bool CloseTogether(wchar_t open, wchar_t unit) {
    return IsOneOf(open, kSingleQuotes) ? IsOneOf(unit, kSingleQuotes)
                                        : IsOneOf(unit, kDoubleQuotes) || unit == L'"';
}

constexpr size_t kMarkerUnits = 7;

} // namespace

// Offsets only grow.
int32_t LenientLexer::LineBegin(int32_t offset) {
    for (; m_scanned < offset; ++m_scanned) {
        if (IsLineBreak(At(m_scanned))) {
            m_lineBegin = m_scanned + 1;
        }
    }
    return m_lineBegin;
}

int32_t LenientLexer::LineEnd(int32_t offset) {
    if (offset > m_lineEnd) {
        const size_t end = m_text.find_first_of(L"\r\n", static_cast<size_t>(offset));
        m_lineEnd = end == std::wstring_view::npos ? Length() : static_cast<int32_t>(end);
    }
    return m_lineEnd;
}

// Within the line.
int32_t LenientLexer::SkipBlanks(int32_t offset) const {
    while (Has(offset) && (IsSpace(At(offset)) || IsOddBlank(At(offset))) && !IsLineBreak(At(offset))) {
        ++offset;
    }
    return offset;
}

// Whether what follows a quote at this offset lets it be a closing one.
bool LenientLexer::EndsToken(int32_t offset) const {
    const int32_t next = SkipBlanks(offset);
    return !Has(next) || IsLineBreak(At(next)) || IsOneOf(At(next), L":,}]=;#") || StartsWith(next, L"//") ||
           StartsWith(next, L"/*");
}

// Without the punctuation that follows a value at the end of a line.
int32_t LenientLexer::TrimmedEnd(int32_t begin, int32_t end) const {
    while (end > begin + 1 && (IsSpace(At(end - 1)) || IsOneOf(At(end - 1), L",}]"))) {
        --end;
    }
    return end;
}

bool LenientLexer::SkipComment() {
    const bool isBlock = StartsWith(m_offset, L"/*");
    if (!isBlock && !StartsWith(m_offset, L"//") && At(m_offset) != L'#') {
        return false;
    }
    int32_t end = LineEnd(m_offset);
    if (isBlock) {
        const size_t close = m_text.find(L"*/", static_cast<size_t>(m_offset) + 2);
        end = close == std::wstring_view::npos ? Length() : static_cast<int32_t>(close) + 2;
    }
    int32_t begin = m_offset;
    while (begin > 0 && (At(begin - 1) == L' ' || At(begin - 1) == L'\t')) {
        --begin;
    }
    AddError(m_problems, "comment", m_offset, end, "the file cannot hold comments", "remove the comment",
             {{begin, end, L""}});
    m_offset = end;
    return true;
}

bool LenientLexer::SkipOddBlanks() {
    if (!IsOddBlank(At(m_offset))) {
        return false;
    }
    const int32_t begin = m_offset;
    std::wstring blanks;
    for (; IsOddBlank(At(m_offset)); ++m_offset) {
        blanks += IsInvisible(At(m_offset)) ? L"" : L" ";
    }
    const std::string name =
        IsInvisible(At(begin)) ? "an invisible character" : "a no-break or other special blank";
    AddError(m_problems, "odd-blank", begin, m_offset,
             name + " (" + Utf8(HexEscapeOf(At(begin)).replace(0, 2, L"U+")) + ") is not white space in JSON",
             blanks.empty() ? "remove it" : "write an ordinary blank", {{begin, m_offset, blanks}});
    return true;
}

void LenientLexer::RemoveLine(int32_t begin) {
    m_offset = LineEnd(begin);
    m_unsafe.push_back({begin, m_offset, L""});
}

// Of a conflict the first version is read.
bool LenientLexer::SkipMergeMarker() {
    const bool isAtLineStart = m_offset == 0 || IsLineBreak(At(m_offset - 1));
    const wchar_t unit = At(m_offset);
    if (!isAtLineStart || !IsOneOf(unit, L"<=>|") ||
        !StartsWith(m_offset, std::wstring(kMarkerUnits, unit))) {
        return false;
    }
    const int32_t begin = m_offset;
    if (!m_isInConflict) {
        AddError(
            m_problems, "merge-conflict", begin, LineEnd(begin), "a merge conflict is not resolved here",
            "keep one of the two versions and remove the lines that begin with <<<<<<<, ======= and >>>>>>>");
    }
    if (unit == L'=' || unit == L'|') {
        const size_t close = m_text.find(L"\n>>>>>>>", static_cast<size_t>(begin));
        const int32_t end =
            close == std::wstring_view::npos ? Length() : LineEnd(static_cast<int32_t>(close) + 1);
        m_unsafe.push_back({begin, end, L""});
        m_offset = end;
        m_isInConflict = false;
        return true;
    }
    RemoveLine(begin);
    m_isInConflict = unit != L'>';
    return true;
}

void LenientLexer::SkipBetweenTokens() {
    while (Has(m_offset)) {
        if (IsSpace(At(m_offset))) {
            ++m_offset;
        } else if (!SkipMergeMarker() && !SkipComment() && !SkipOddBlanks()) {
            return;
        }
    }
}

LenientToken LenientLexer::Make(TokenKind kind, int32_t end) {
    LenientToken token;
    token.kind = kind;
    token.unit = At(m_offset);
    token.begin = m_offset;
    token.end = end;
    const int32_t lineBegin = LineBegin(m_offset);
    if (lineBegin != m_indentLine) {
        m_indentLine = lineBegin;
        m_indent = SkipBlanks(lineBegin) - lineBegin;
    }
    token.indent = m_indent;
    token.isFirstOfLine = lineBegin + m_indent == m_offset;
    m_offset = end;
    return token;
}

LenientToken LenientLexer::Next() {
    SkipBetweenTokens();
    if (!Has(m_offset)) {
        return Make(TokenKind::End, m_offset);
    }
    const wchar_t unit = At(m_offset);
    switch (unit) {
    case L'{':
    case L'[':
        return Make(TokenKind::Open, m_offset + 1);
    case L'}':
    case L']':
        return Make(TokenKind::Close, m_offset + 1);
    case L':':
        return Make(TokenKind::Colon, m_offset + 1);
    case L',':
        return Make(TokenKind::Comma, m_offset + 1);
    case L'=': {
        const int32_t end = m_offset + (At(m_offset + 1) == L'>' ? 2 : 1);
        AddError(m_problems, "equals-sign", m_offset, end,
                 "a colon separates a name from its value, not " + Quoted(Piece(m_offset, end)),
                 "write a colon", {{m_offset, end, L":"}});
        return Make(TokenKind::Colon, end);
    }
    case L';':
        AddError(m_problems, "semicolon", m_offset, m_offset + 1,
                 "members are separated by commas, not semicolons", "write a comma",
                 {{m_offset, m_offset + 1, L","}});
        return Make(TokenKind::Comma, m_offset + 1);
    case L'"':
        return ReadText();
    default:
        return IsOneOf(unit, kSingleQuotes) || IsOneOf(unit, kDoubleQuotes) ? ReadOddQuotes() : ReadWord();
    }
}

// The offset of the unescaped quote that ends a text, or the length.
int32_t LenientLexer::ClosingQuote(int32_t begin) const {
    int32_t offset = begin + 1;
    while (Has(offset) && At(offset) != L'"') {
        offset += At(offset) == L'\\' ? EscapeUnits(m_text.data() + offset, Length() - offset) : 1;
    }
    return std::min(offset, Length());
}

// A text that opens with a straight quote and closes with a curly one.
bool LenientLexer::CloseCurly(int32_t begin, int32_t quote) {
    const int32_t lineEnd = LineEnd(begin);
    for (int32_t offset = begin + 1; offset < std::min(quote, lineEnd); ++offset) {
        if (IsOneOf(At(offset), kDoubleQuotes) && EndsToken(offset + 1)) {
            AddError(m_problems, "curly-quotes", offset, offset + 1,
                     "a typographic quote does not end a text", "write the straight quote \"",
                     {{offset, offset + 1, L"\""}});
            m_offset = begin;
            return true;
        }
    }
    return false;
}

// A path whose last backslash escapes the closing quote: "C:\Folder\".
bool LenientLexer::ClosePath(int32_t begin) {
    const int32_t end = TrimmedEnd(begin, LineEnd(begin));
    if (end < begin + 3 || At(end - 1) != L'"' || At(end - 2) != L'\\') {
        return false;
    }
    // Where no backslash is doubled, none of the others is an escape either.
    const bool isRaw = Piece(begin, end).find(L"\\\\") == std::wstring_view::npos;
    TextEdits edits;
    for (int32_t offset = isRaw ? begin + 1 : end - 2; offset < end; ++offset) {
        if (At(offset) == L'\\') {
            edits.push_back({offset, offset, L"\\"});
        }
    }
    AddError(m_problems, "backslash", isRaw ? begin + 1 : end - 2, end,
             "the last backslash makes the quote after it part of the text",
             "write two backslashes for each one", std::move(edits));
    return true;
}

// A text that does not close on its line where it should.
LenientToken LenientLexer::CloseText(int32_t begin) {
    const int32_t lineEnd = LineEnd(begin);
    if (ClosePath(begin)) {
        return Make(TokenKind::Text, TrimmedEnd(begin, lineEnd));
    }
    // A name ends before its colon, a value before the punctuation at the end of its line.
    int32_t end = begin + 1;
    while (end < lineEnd &&
           (At(end) > 127 || std::isalnum(static_cast<int>(At(end))) != 0 || IsOneOf(At(end), L"._-$"))) {
        ++end;
    }
    const bool isName =
        end > begin + 1 && At(end) == L':' && (IsSpace(At(end + 1)) || IsOneOf(At(end + 1), L"\"{["));
    end = isName ? end : TrimmedEnd(begin, lineEnd);
    AddError(m_problems, "unclosed-text", begin, end, "the text that begins here has no closing quote",
             "add a quote at its end", {{end, end, L"\""}});
    return Make(TokenKind::Text, end);
}

// "My "best" server": quotes in a pair inside a text, of which the first one is at `quote`. Returns the
// offset of the quote that ends the text.
int32_t LenientLexer::ReadInnerQuotes(int32_t begin, int32_t quote) {
    const int32_t lineEnd = LineEnd(begin);
    if (IsSpace(At(quote + 1)) || IsOneOf(At(quote + 1), L"\"{[")) {
        return quote;
    }
    TextEdits edits;
    int32_t close = quote;
    constexpr size_t kMostQuotes = 20;
    while (close < lineEnd && edits.size() < kMostQuotes && !EndsToken(close + 1)) {
        edits.push_back({close, close, L"\\"});
        close = ClosingQuote(close);
    }
    if (close >= lineEnd || !EndsToken(close + 1) || edits.size() % 2 != 0 ||
        At(SkipBlanks(close + 1)) == L':') {
        return quote;
    }
    AddError(m_problems, "inner-quotes", quote, close, "quotes inside a text end it",
             "write \\\" for a quote inside a text", std::move(edits));
    return close;
}

LenientToken LenientLexer::ReadText() {
    const int32_t begin = m_offset;
    const int32_t quote = ClosingQuote(begin);
    const int32_t lineEnd = LineEnd(begin);
    if (quote < lineEnd && EndsToken(quote + 1)) {
        return Make(TokenKind::Text, quote + 1);
    }
    if (CloseCurly(begin, quote)) {
        return Make(TokenKind::Text, m_problems.back().end);
    }
    if (quote < lineEnd) {
        return Make(TokenKind::Text, ReadInnerQuotes(begin, quote) + 1);
    }
    // A line break in a text is possible; most often the closing quote is missing.
    int32_t next = lineEnd;
    while (Has(next) && IsSpace(At(next))) {
        ++next;
    }
    const bool goesOn = Has(quote) && EndsToken(quote + 1) && !IsOneOf(At(next), L"\"}]");
    return goesOn ? Make(TokenKind::Text, quote + 1) : CloseText(begin);
}

// Quotes of another kind; those of one line are one problem.
LenientToken LenientLexer::ReadOddQuotes() {
    const int32_t begin = m_offset;
    const int32_t lineEnd = LineEnd(begin);
    int32_t close = -1;
    for (int32_t offset = begin + 1; offset < lineEnd && close < 0; ++offset) {
        close = CloseTogether(At(begin), At(offset)) && EndsToken(offset + 1) ? offset : -1;
    }
    const bool isClosed = close >= 0;
    const int32_t contentEnd = isClosed ? close : TrimmedEnd(begin, lineEnd);
    TextEdits edits = {{begin, begin + 1, L"\""}};
    for (int32_t offset = begin + 1; offset < contentEnd; ++offset) {
        if (At(offset) == L'\\' && offset + 1 < contentEnd) {
            if (At(offset + 1) == L'\'') {
                edits.push_back({offset, offset + 1, L""});
            }
            ++offset;
        } else if (At(offset) == L'"') {
            edits.push_back({offset, offset, L"\\"});
        }
    }
    const int32_t end = isClosed ? contentEnd + 1 : contentEnd;
    edits.push_back({contentEnd, end, L"\""});
    const bool isCurly = IsCurly(At(begin)) || (isClosed && IsCurly(At(close)));
    const char* const code = isCurly ? "curly-quotes" : "single-quotes";
    Problem* const last = m_problems.empty() ? nullptr : &m_problems.back();
    if (last && std::string_view(last->code) == code && last->end <= begin &&
        last->begin >= LineBegin(begin)) {
        last->end = end;
        last->edits.insert(last->edits.end(), edits.begin(), edits.end());
    } else {
        AddError(m_problems, code, begin, end,
                 std::string(isCurly ? "typographic" : "single") + " quotes do not enclose a name or text",
                 "use the straight double quote, \"", std::move(edits));
    }
    return Make(TokenKind::Text, end);
}

LenientToken LenientLexer::ReadWord() {
    const int32_t begin = m_offset;
    int32_t end = begin;
    while (Has(end) && !IsSpace(At(end)) && !IsOddBlank(At(end)) && !IsOneOf(At(end), L",:{}[]\"=;") &&
           !StartsWith(end, L"//") && !StartsWith(end, L"/*")) {
        ++end;
    }
    end = std::max(end, begin + 1);
    // Only the opening quote is missing.
    if (At(end) == L'"' && EndsToken(end + 1)) {
        AddError(m_problems, "unopened-text", begin, end + 1,
                 "the text that begins here has no opening quote", "add a quote at its start",
                 {{begin, begin, L"\""}});
        LenientToken token = Make(TokenKind::Text, end + 1);
        token.isUnquoted = true;
        return token;
    }
    return Make(TokenKind::Word, end);
}

} // namespace zq
