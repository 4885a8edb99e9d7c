// The tokens of a text that the module's reader refuses, including what an author wrote instead of JSON
// tokens.
//
// Portable.
#pragma once

#include "check/Problem.h"

#include <cstdint>
#include <string_view>

namespace zq {

struct LenientToken {
    enum class Kind { Open, Close, Colon, Comma, Text, Word, End };

    Kind kind = Kind::End;
    wchar_t unit = 0; // the first one
    int32_t begin = 0;
    int32_t end = 0;
    bool isFirstOfLine = false;
    int32_t indent = 0;      // of its line, in units
    bool isUnquoted = false; // a Text whose opening quote is missing

    bool Is(Kind wanted) const { return kind == wanted; }
    bool IsValueStart() const { return kind == Kind::Open || kind == Kind::Text || kind == Kind::Word; }
};

// Reads token after token, and adds a problem for each thing between or inside tokens that JSON does not
// have: comments, odd blanks, merge markers, quotes of other kinds and quotes that are missing.
class LenientLexer {
public:
    // `unsafe` receives the edits that let reading continue where only the author knows the right edit.
    LenientLexer(std::wstring_view text, Problems& problems, TextEdits& unsafe)
        : m_text(text), m_problems(problems), m_unsafe(unsafe) {}

    // Reads the next token. A name is a text that a colon follows.
    LenientToken Next();

private:
    bool Has(int32_t offset) const { return offset < Length(); }
    wchar_t At(int32_t offset) const { return Has(offset) ? m_text[static_cast<size_t>(offset)] : L'\0'; }
    int32_t Length() const { return static_cast<int32_t>(m_text.size()); }
    std::wstring_view Piece(int32_t begin, int32_t end) const {
        return m_text.substr(static_cast<size_t>(begin), static_cast<size_t>(end - begin));
    }
    bool StartsWith(int32_t offset, std::wstring_view piece) const {
        return m_text.substr(static_cast<size_t>(offset)).starts_with(piece);
    }
    int32_t LineBegin(int32_t offset);
    int32_t LineEnd(int32_t offset);
    int32_t SkipBlanks(int32_t offset) const;
    bool EndsToken(int32_t offset) const;
    int32_t TrimmedEnd(int32_t begin, int32_t end) const;

    void SkipBetweenTokens();
    bool SkipComment();
    bool SkipOddBlanks();
    bool SkipMergeMarker();
    void RemoveLine(int32_t begin);

    LenientToken Make(LenientToken::Kind kind, int32_t end);
    LenientToken ReadText();
    LenientToken ReadOddQuotes();
    LenientToken ReadWord();
    int32_t ClosingQuote(int32_t begin) const;
    int32_t ReadInnerQuotes(int32_t begin, int32_t quote);
    LenientToken CloseText(int32_t begin);
    bool CloseCurly(int32_t begin, int32_t quote);
    bool ClosePath(int32_t begin);

    std::wstring_view m_text;
    Problems& m_problems;
    TextEdits& m_unsafe;
    int32_t m_offset = 0;
    int32_t m_lineBegin = 0; // of the line looked at last
    int32_t m_scanned = 0;   // up to where line breaks were looked for
    int32_t m_lineEnd = -1;
    int32_t m_indentLine = -1; // whose indentation is m_indent
    int32_t m_indent = 0;
    bool m_isInConflict = false; // whose problem is reported
};

} // namespace zq
