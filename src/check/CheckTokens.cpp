#include "check/Checks.h"
#include "check/Quote.h"
#include "check/TextToken.h"

#include <algorithm>

namespace zq {

namespace {

class TokenChecker {
public:
    TokenChecker(const SourceText& source, Problems& problems)
        : m_text(source.Text()), m_problems(problems) {}

    void Check(const DocumentNode& node) {
        if (node.HasKey()) {
            CheckName(node.keyBegin, node.keyEnd);
        }
        switch (node.kind) {
        case JsonKind::Integer:
            CheckInteger(node);
            [[fallthrough]];
        case JsonKind::Double:
            CheckNumber(node);
            break;
        case JsonKind::String:
            CheckText(node.begin, node.end);
            break;
        case JsonKind::Bool:
        case JsonKind::Null:
            CheckLiteral(node);
            break;
        default:
            break;
        }
    }

private:
    std::wstring_view Piece(int32_t begin, int32_t end) const {
        return m_text.substr(static_cast<size_t>(begin), static_cast<size_t>(end - begin));
    }

    void Warn(const char* code, int32_t begin, int32_t end, std::string text, std::string mend) {
        AddWarning(m_problems, code, begin, end, std::move(text), std::move(mend));
    }

    static std::wstring_view Digits(std::wstring_view number) {
        const bool isSigned = number.front() == L'+' || number.front() == L'-';
        return isSigned ? number.substr(1) : number;
    }

    void CheckInteger(const DocumentNode& node) {
        const std::wstring_view number = Piece(node.begin, node.end);
        const std::wstring_view digits = Digits(number);
        if (digits.empty()) {
            Warn("lone-sign", node.begin, node.end, "a sign without digits reads as 0", "write the number");
            return;
        }
        constexpr std::wstring_view kLargest = L"9223372036854775807";
        const std::wstring_view significant =
            digits.substr(std::min(digits.find_first_not_of(L'0'), digits.size()));
        if (significant.size() > kLargest.size() ||
            (significant.size() == kLargest.size() && significant > kLargest)) {
            Warn("too-large", node.begin, node.end,
                 Quoted(number) + " goes beyond 64 bits and reads as " + (number.front() == L'-' ? "-" : "") +
                     Utf8(kLargest),
                 "write a smaller number, or one with a point");
        }
    }

    void CheckNumber(const DocumentNode& node) {
        const std::wstring_view number = Piece(node.begin, node.end);
        const std::wstring_view digits = Digits(number);
        const bool isPadded = digits.size() > 1 && digits[0] == L'0' && digits[1] != L'.';
        const bool hasBarePoint = !digits.empty() && (digits.front() == L'.' || digits.back() == L'.');
        if (number.front() == L'+' || isPadded || hasBarePoint) {
            Warn("odd-number", node.begin, node.end, "other JSON readers refuse the number " + Quoted(number),
                 "write it without a plus sign and leading zeros, with a digit on both sides of the point");
        }
    }

    void CheckLiteral(const DocumentNode& node) {
        const std::wstring_view word = Piece(node.begin, node.end);
        if (std::any_of(word.begin(), word.end(), [](wchar_t unit) { return unit < L'a'; })) {
            Warn("literal-case", node.begin, node.end, "other JSON readers refuse " + Quoted(word),
                 "write it in small letters");
        }
    }

    void CheckName(int32_t begin, int32_t end) {
        const std::wstring_view first = Piece(begin, begin + 1);
        if (first != L"\"") {
            Warn("lost-unit", begin, begin + 1,
                 "the name does not begin with a quote; its first character, " + Quoted(first) + ", is lost",
                 "put the name in quotes; in front of it a quote may be missing or too many");
        }
        CheckText(begin, end);
    }

    void CheckText(int32_t begin, int32_t end) {
        bool isControlTold = false;
        const bool isClosed = WalkText(
            m_text, begin, end, [&](int32_t place, int32_t units) { CheckEscape(place, units); },
            [&](int32_t place) { CheckUnit(place, isControlTold); });
        if (!isClosed) {
            Warn("unclosed-text", begin, begin + 1, "the text that begins here runs to the end of the file",
                 "close it with a quote");
        }
    }

    void CheckUnit(int32_t place, bool& isTold) {
        const wchar_t unit = m_text[static_cast<size_t>(place)];
        if (unit == 0) {
            WarnOfZero(place, 1);
        } else if (unit < 0x20 && !isTold) {
            const bool isLineBreak = unit == L'\n' || unit == L'\r';
            Warn("raw-control", place, place + 1,
                 isLineBreak ? "a line break stands inside of a text; other JSON readers refuse it"
                             : "a control character stands inside of a text; other JSON readers refuse it",
                 isLineBreak ? "write \\n, or close the text: its quote may be missing"
                             : "write " + Utf8(unit == L'\t' ? L"\\t" : HexEscapeOf(unit)));
            isTold = true;
        }
    }

    void WarnOfZero(int32_t place, int32_t units) {
        Warn("zero-character", place, place + units,
             "a zero character ends the text here for most who read it", "take it away");
    }

    void CheckEscape(int32_t place, int32_t units) {
        const std::wstring_view escape = Piece(place, place + units);
        if (escape.size() > 1 && escape[1] == L'u') {
            CheckHexEscape(place, escape);
        } else if (escape.size() == 2 && escape[1] != L'\\' && SimpleEscape(escape[1]) == L'\\') {
            Warn("lost-escape", place, place + units,
                 "the escape " + Quoted(escape) +
                     " is not known: it reads as a backslash, and its letter is lost",
                 escape[1] == L'b'   ? "write \\u0008"
                 : escape[1] == L'f' ? "write \\u000C"
                                     : "for a backslash and the letter write two backslashes");
        }
    }

    void CheckHexEscape(int32_t place, std::wstring_view escape) {
        const auto units = static_cast<int32_t>(escape.size());
        if (units < kHexEscapeUnits) {
            return; // the end of the text cuts it short, which is told already
        }
        if (std::any_of(escape.begin() + 2, escape.end(), [](wchar_t unit) { return HexDigit(unit) < 0; })) {
            Warn("wrong-escape", place, place + units,
                 "the escape " + Quoted(escape) + " has fewer than four hexadecimal digits",
                 "write \\u and four of 0 to 9 and A to F");
        } else if (escape.substr(2) == L"0000") {
            WarnOfZero(place, units);
        }
    }

    std::wstring_view m_text;
    Problems& m_problems;
};

} // namespace

void CheckTokens(const SourceText& source, const DocumentMap& document, Problems& problems) {
    TokenChecker checker(source, problems);
    for (const DocumentNode& node : document.Nodes()) {
        checker.Check(node);
    }
}

} // namespace zq
