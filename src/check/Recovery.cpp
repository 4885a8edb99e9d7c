#include "check/Recovery.h"

#include "base/AsciiCase.h"
#include "check/Quote.h"
#include "check/TokenCursor.h"
#include "check/WordRepair.h"

#include <algorithm>
#include <span>
#include <string>
#include <vector>

namespace zq {

namespace {

using TokenKind = LenientToken::Kind;

constexpr size_t kMostProblems = 500;

bool IsUnit(std::wstring_view word) {
    return std::all_of(word.begin(), word.end(),
                       [](wchar_t unit) { return IsAsciiLetter(unit) || unit == L'%' || unit == L'/'; });
}

// One reading of the whole text.
class Attempt {
public:
    Attempt(std::wstring_view text, bool byIndent)
        : m_text(text), m_byIndent(byIndent), m_cursor(text, m_result.problems, m_result.edits) {
        m_result.isCertain = m_result.edits.empty();
        for (const Problem& problem : m_result.problems) {
            AddEdits(problem.edits);
        }
    }

    void Run() {
        ReadRoot();
        while (!m_open.empty() && m_result.problems.size() < kMostProblems) {
            ReadElement();
        }
        ReadRest();
    }

    // Whether each bracket has found the other one of its pair.
    bool IsBalanced() const { return m_isBalanced; }

    Recovered Take() {
        m_result.isCertain = m_result.isCertain && m_result.problems.size() < kMostProblems;
        return std::move(m_result);
    }

private:
    struct Container {
        bool isObject;
        int32_t begin; // of its bracket, or of its name where that is missing
        int32_t indent;
        bool isInserted;

        std::wstring_view Closer() const { return isObject ? L"}" : L"]"; }
    };

    // In the order of the reading, which insertions at one offset keep.
    void AddEdits(const TextEdits& edits) {
        m_result.edits.insert(m_result.edits.end(), edits.begin(), edits.end());
    }
    void AddDoubtfulEdit(TextEdit edit) {
        m_result.edits.push_back(std::move(edit));
        m_result.isCertain = false;
    }

    void Report(const char* code, int32_t begin, int32_t end, std::string text, std::string fix,
                TextEdits edits) {
        AddEdits(edits);
        AddError(m_result.problems, code, begin, end, std::move(text), std::move(fix), std::move(edits));
    }
    // Only the author knows what is missing here; with `edit` the reading goes on.
    void ReportDoubtful(const char* code, int32_t begin, int32_t end, std::string text, std::string fix,
                        TextEdit edit) {
        Report(code, begin, end, std::move(text), std::move(fix), {});
        AddDoubtfulEdit(std::move(edit));
    }

    void ReportNoDocument(const char* code, int32_t begin, int32_t end, std::string text, std::string fix,
                          TextEdit edit) {
        ReportDoubtful(code, begin, end, std::move(text), std::move(fix), std::move(edit));
        m_result.hasDocument = false;
    }

    bool HasSurplusCloser() const { return m_cursor.UnmatchedClosers() > m_open.size(); }

    void Push(const LenientToken& token) {
        m_open.push_back({token.unit == L'{', token.begin, token.indent, false});
    }

    void InsertBrace(const LenientToken& before, int32_t begin, int32_t end, std::string text) {
        Report("no-brace", begin, end, std::move(text), "write \"{\" before " + m_cursor.Shown(before),
               {{before.begin, before.begin, L"{"}});
        m_open.push_back({true, before.begin, before.indent, true});
    }

    // Between a name and the first member of its group.
    void InsertGroup(const LenientToken& name) {
        const LenientToken& member = m_cursor.Peek();
        Report("no-brace", name.begin, name.end,
               "a colon and \"{\" are missing after the name " + m_cursor.Shown(name),
               "write \": {\" before " + m_cursor.Shown(member), {{name.end, name.end, L": {"}});
        m_open.push_back({true, member.begin, member.indent, true});
    }

    void RemoveCloser(const LenientToken& token) {
        m_isBalanced = false;
        Report("wrong-bracket", token.begin, token.end, m_cursor.Shown(token) + " closes nothing",
               "remove it", {{token.begin, token.end, L""}});
    }

    void ReadRoot() {
        while (m_cursor.Peek().Is(TokenKind::Close) || m_cursor.Peek().Is(TokenKind::Comma)) {
            const LenientToken& token = m_cursor.Take();
            if (token.Is(TokenKind::Close)) {
                RemoveCloser(token);
            } else {
                ReportSurplusComma(token);
            }
        }
        const LenientToken& token = m_cursor.Peek();
        if (token.Is(TokenKind::Open)) {
            Push(m_cursor.Take());
        } else if (m_cursor.IsNameAt(0)) {
            InsertBrace(token, token.begin, token.end, "the document does not begin with \"{\"");
        } else if (token.Is(TokenKind::End)) {
            if (m_result.problems.empty()) {
                Report("empty", token.begin, token.end, "the file holds no document",
                       "write {} or [] at least", {});
            }
            AddDoubtfulEdit({token.begin, token.begin, L"[]"});
            m_result.hasDocument = false;
        } else {
            ReadRootScalar(m_cursor.Take());
        }
    }

    void ReadRootScalar(const LenientToken& token) {
        const std::wstring_view word = m_cursor.Piece(token);
        const WordRepair repair = token.Is(TokenKind::Word) ? RepairWord(word) : WordRepair();
        if (repair.code) {
            ReportNoDocument(repair.code, token.begin, token.end, repair.text, repair.fix,
                             {token.begin, token.end, L"[]"});
        } else if (token.Is(TokenKind::Word) && token.end == static_cast<int32_t>(m_text.size())) {
            ReportNoDocument(
                "number-at-end", token.begin, token.end, "the file holds only the number " + Quoted(word),
                "write an object, as {\"Name\": " + Utf8(word) + "}", {token.begin, token.end, L"[]"});
        } else if (token.Is(TokenKind::Colon)) {
            ReportNoDocument("no-name", token.begin, token.end, "the document does not begin with a bracket",
                             "write \"{\" and a name in quotes", {token.begin, token.end, L"[]"});
        }
    }

    void ReadElement() {
        const LenientToken& token = m_cursor.Peek();
        if (token.Is(TokenKind::End)) {
            CloseAtEnd(token.begin);
        } else if (token.Is(TokenKind::Close)) {
            ReadClose(token);
        } else if (IsLessIndented(token)) {
            CloseHere(token);
        } else if (token.Is(TokenKind::Comma)) {
            ReportSurplusComma(m_cursor.Take());
        } else if (m_open.back().isObject) {
            ReadMember();
        } else {
            ReadItem();
        }
    }

    void ReportSurplusComma(const LenientToken& token) {
        Report("surplus-comma", token.begin, token.end, "a value is missing before this comma",
               "remove the comma", {{token.begin, token.end, L""}});
    }

    void CloseAtEnd(int32_t end) {
        std::wstring closers;
        const Container innermost = m_open.back();
        const size_t count = m_open.size();
        for (; !m_open.empty(); m_open.pop_back()) {
            closers += m_open.back().Closer();
        }
        m_isBalanced = false;
        Report("unclosed", innermost.begin, innermost.begin + 1,
               count == 1 ? "this bracket is not closed before the file ends"
                          : "this bracket and those around it are not closed before the file ends",
               "add " + Quoted(closers) + " at the end of the file", {{end, end, closers}});
    }

    // Whether the indentation says that the innermost container has ended before this token.
    bool IsLessIndented(const LenientToken& token) const {
        const Container& container = m_open.back();
        return m_byIndent && m_open.size() > 1 && token.isFirstOfLine && !container.isInserted &&
               token.indent <= container.indent;
    }

    // Closes the innermost container before the token, which belongs to the one around it.
    void CloseHere(const LenientToken& token) {
        const Container container = m_open.back();
        m_open.pop_back();
        const LenientToken& last = m_cursor.Last();
        const bool isAfterComma = last.Is(TokenKind::Comma);
        const int32_t at = isAfterComma ? last.begin : last.end;
        const bool needsComma = !isAfterComma && !token.Is(TokenKind::Close);
        Report("unclosed", container.begin, container.begin + 1, "this bracket is not closed",
               "add " + Quoted(container.Closer()) + " before " + m_cursor.Shown(token),
               {{at, at, std::wstring(container.Closer()) + (needsComma ? L"," : L"")}});
    }

    void ReadClose(const LenientToken& token) {
        const Container& container = m_open.back();
        const bool isOfKind = (token.unit == L'}') == container.isObject;
        const bool isOwnLine = m_byIndent && token.isFirstOfLine && !container.isInserted;
        if (isOwnLine && m_open.size() > 1 && token.indent < container.indent) {
            return CloseHere(token);
        }
        if (isOwnLine && token.indent > container.indent && HasSurplusCloser()) {
            return RemoveCloser(m_cursor.Take());
        }
        if (isOfKind) {
            m_cursor.Take();
            m_open.pop_back();
            return FinishValue();
        }
        ReadWrongClose(token);
    }

    void ReadWrongClose(const LenientToken& token) {
        const size_t closers = m_cursor.UnmatchedClosers();
        if (closers > m_open.size()) {
            return RemoveCloser(m_cursor.Take());
        }
        const bool isOfOuter = std::any_of(m_open.begin(), m_open.end() - 1, [&](const Container& outer) {
            return outer.isObject == (token.unit == L'}');
        });
        if (closers < m_open.size() && isOfOuter) {
            m_isBalanced = false;
            return CloseHere(token);
        }
        const Container container = m_open.back();
        Report("wrong-bracket", token.begin, token.end,
               m_cursor.Shown(token) + " does not close " + Quoted(container.isObject ? L"{" : L"["),
               "write " + Quoted(container.Closer()),
               {{token.begin, token.end, std::wstring(container.Closer())}});
        m_cursor.Take();
        m_open.pop_back();
        FinishValue();
    }

    void ReadMember() {
        const LenientToken& name = m_cursor.Peek();
        if (!name.Is(TokenKind::Text) && !m_cursor.IsNameAt(0) &&
            !(name.Is(TokenKind::Word) && m_cursor.Peek(1).Is(TokenKind::Open))) {
            return ReadNoName(name);
        }
        m_cursor.Take();
        if (name.Is(TokenKind::Word)) {
            Report("no-quotes", name.begin, name.end, "the name " + m_cursor.Shown(name) + " needs quotes",
                   "put it in double quotes", {{name.begin, name.begin, L"\""}, {name.end, name.end, L"\""}});
        }
        if (m_cursor.IsNameAt(0) && HasSurplusCloser()) {
            InsertGroup(name);
        } else if (ReadColon(name)) {
            ReadMemberValue(name);
        } else {
            FinishValue();
        }
    }

    void ReadNoName(const LenientToken& token) {
        if (token.Is(TokenKind::Word)) {
            const WordRepair number = RepairWord(m_cursor.Piece(token));
            ReportDoubtful(
                "no-name", token.begin, token.end,
                m_cursor.Shown(token) + " is not expected here: a member begins with a name in quotes",
                number.code ? "write \"Name\": " + Utf8(number.value) : "write \"Name\": and a value",
                {token.begin, token.end, L""});
            m_cursor.Take();
            FinishValue();
            return;
        }
        ReportDoubtful("no-name", token.begin, token.end, "a name in quotes is missing here",
                       "write \"Name\": before it",
                       {token.begin, token.begin, token.Is(TokenKind::Colon) ? L"\"\"" : L"\"\":"});
        if (token.Is(TokenKind::Colon)) {
            m_cursor.Take();
        }
        ReadMemberValue(token);
    }

    // Returns whether a value is to be read.
    bool ReadColon(const LenientToken& name) {
        if (m_cursor.Peek().Is(TokenKind::Colon)) {
            m_cursor.Take();
            while (m_cursor.Peek().Is(TokenKind::Colon)) {
                const LenientToken& surplus = m_cursor.Take();
                Report("surplus-colon", surplus.begin, surplus.end, "one colon is enough", "remove it",
                       {{surplus.begin, surplus.end, L""}});
            }
            return true;
        }
        const LenientToken& next = m_cursor.Peek();
        if (next.IsValueStart() && !next.isFirstOfLine && !m_cursor.IsNameAt(0)) {
            Report("no-colon", next.begin, next.end, "the colon between name and value is missing",
                   "write a colon after " + m_cursor.Shown(name), {{name.end, name.end, L":"}});
            return true;
        }
        ReportDoubtful("no-value", name.begin, name.end, "the name " + m_cursor.Shown(name) + " has no value",
                       "write a colon and a value after it", {name.end, name.end, L":null"});
        return false;
    }

    void ReadMemberValue(const LenientToken& name) {
        const LenientToken& value = m_cursor.Peek();
        if (!value.IsValueStart()) {
            ReportDoubtful("no-value", value.begin, value.end,
                           "the name " + m_cursor.Shown(name) + " has no value",
                           "write a value after the colon", {value.begin, value.begin, L"null"});
            return FinishValue();
        }
        if (!m_cursor.IsNameAt(0)) {
            return ReadValue();
        }
        if (HasSurplusCloser()) {
            return InsertBrace(value, name.begin, name.end,
                               "\"{\" is missing after the name " + m_cursor.Shown(name));
        }
        ReportDoubtful("no-value", name.begin, name.end, "the name " + m_cursor.Shown(name) + " has no value",
                       "write a value after the colon", {value.begin, value.begin, L"null,"});
    }

    void ReadItem() {
        const LenientToken& token = m_cursor.Peek();
        if (m_cursor.IsNameAt(0) && HasSurplusCloser()) {
            return InsertBrace(token, token.begin, token.end, "\"{\" is missing before this name");
        }
        if (m_cursor.IsNameAt(0)) {
            ReportDoubtful("no-brace", token.begin, token.end, "an array holds values without names",
                           "put the member into \"{\" and \"}\"", {token.begin, m_cursor.Peek(1).end, L""});
            m_cursor.Take();
            m_cursor.Take();
            return;
        }
        if (token.Is(TokenKind::Colon)) {
            ReportDoubtful("no-value", token.begin, token.end, "a colon is not expected in an array",
                           "remove it", {token.begin, token.end, L""});
            m_cursor.Take();
            return;
        }
        ReadValue();
    }

    void ReadValue() {
        const LenientToken& token = m_cursor.Take();
        if (token.Is(TokenKind::Open)) {
            return Push(token);
        }
        if (token.Is(TokenKind::Word)) {
            ReadWord(token);
        }
        FinishValue();
    }

    void ReadWord(const LenientToken& token) {
        const WordRepair repair = RepairWord(m_cursor.Piece(token));
        if (repair.code && repair.isCertain) {
            Report(repair.code, token.begin, token.end, repair.text, repair.fix,
                   {{token.begin, token.end, repair.value}});
        } else if (repair.code) {
            ReportDoubtful(repair.code, token.begin, token.end, repair.text, repair.fix,
                           {token.begin, token.end, repair.value});
        }
        if (m_open.back().isObject && IsNumberWord(m_cursor.Piece(token))) {
            ReadDecimalComma(token);
            ReadUnit(token);
        }
    }

    // "70,5": a comma right between digits, where a name would follow a comma.
    void ReadDecimalComma(const LenientToken& number) {
        const LenientToken& comma = m_cursor.Peek();
        const LenientToken& fraction = m_cursor.Peek(1);
        if (!comma.Is(TokenKind::Comma) || comma.begin != number.end || !fraction.Is(TokenKind::Word) ||
            fraction.begin != comma.end || !IsAsciiNumber(m_cursor.Piece(fraction)) ||
            m_cursor.Peek(2).Is(TokenKind::Colon)) {
            return;
        }
        Report("decimal-comma", number.begin, fraction.end, "a number has a decimal point, not a comma",
               "write " + Utf8(m_cursor.Piece(number)) + "." + Utf8(m_cursor.Piece(fraction)),
               {{comma.begin, comma.end, L"."}});
        m_cursor.Take();
        m_cursor.Take();
    }

    // "70 Mbps".
    void ReadUnit(const LenientToken& number) {
        const LenientToken& unit = m_cursor.Peek();
        if (!unit.Is(TokenKind::Word) || unit.isFirstOfLine || m_cursor.Peek(1).Is(TokenKind::Colon) ||
            !IsUnit(m_cursor.Piece(unit))) {
            return;
        }
        Report("unit", unit.begin, unit.end, "a number cannot have a unit",
               "remove " + Quoted(m_cursor.Piece(unit)), {{number.end, unit.end, L""}});
        m_cursor.Take();
    }

    void FinishValue() {
        while (!m_open.empty() && m_cursor.Peek().Is(TokenKind::Colon)) {
            const LenientToken& token = m_cursor.Take();
            ReportDoubtful("no-name", token.begin, token.end, "a colon is not expected here",
                           "remove it, or write a name", {token.begin, token.end, L""});
        }
        if (!m_open.empty() && m_cursor.Peek().Is(TokenKind::Comma)) {
            m_cursor.Take();
        }
    }

    void ReadRest() {
        const LenientToken& first = m_cursor.Peek();
        if (first.Is(TokenKind::End) || !m_open.empty()) {
            return;
        }
        m_isBalanced = false;
        const std::span<const LenientToken> rest = m_cursor.Rest();
        const bool isPunctuation = std::all_of(rest.begin(), rest.end(), [](const LenientToken& token) {
            return token.Is(TokenKind::Close) || token.Is(TokenKind::Comma) || token.Is(TokenKind::End);
        });
        const int32_t end = rest[rest.size() - 2].end; // of what precedes the end of the text
        if (isPunctuation) {
            Report("trailing", first.begin, end,
                   first.Is(TokenKind::Close)
                       ? Quoted(m_cursor.Piece(first)) + " closes nothing: the document has ended"
                       : "a comma follows the end of the document",
                   "remove it", {{m_cursor.Last().end, end, L""}});
        } else {
            ReportDoubtful("trailing", first.begin, end, "text follows the end of the document",
                           "remove it, or the bracket that ends the document too early",
                           {first.begin, static_cast<int32_t>(m_text.size()), L""});
        }
    }

    std::wstring_view m_text;
    bool m_byIndent;
    Recovered m_result;
    TokenCursor m_cursor;
    std::vector<Container> m_open;
    bool m_isBalanced = true;
};

} // namespace

Recovered Recover(std::wstring_view text) {
    Attempt plain(text, false);
    plain.Run();
    if (!plain.IsBalanced()) {
        Attempt byIndent(text, true);
        byIndent.Run();
        if (byIndent.IsBalanced()) {
            return byIndent.Take();
        }
    }
    return plain.Take();
}

} // namespace zq
