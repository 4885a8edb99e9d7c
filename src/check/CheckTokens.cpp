#include "check/Checks.h"
#include "check/Quote.h"
#include "check/TextToken.h"

#include "base/AsciiCase.h"

#include <algorithm>

namespace zq {

namespace {

bool IsHexDigit(wchar_t unit) { return HexDigit(unit) >= 0; }

// \uXXXX, which no folder's name is likely to look like.
bool IsHexEscape(std::wstring_view text) {
    return text.size() >= 6 && text.starts_with(L"\\u") &&
           std::all_of(text.begin() + 2, text.begin() + 6, IsHexDigit);
}

bool HasOtherEscape(std::wstring_view text) {
    for (size_t i = text.find(L'\\'); i != std::wstring_view::npos; i = text.find(L'\\', i + 1)) {
        if (!IsHexEscape(text.substr(i))) {
            return true;
        }
    }
    return false;
}

// A path that was written as it is, with single backslashes.
bool IsRawPath(std::wstring_view text) {
    const bool isDrive = text.size() > 3 && IsAsciiLetter(text[0]) && text[1] == L':' && text[2] == L'\\' &&
                         !IsHexEscape(text.substr(2));
    const bool isShare = text.size() > 3 && text.starts_with(L"\\\\") && IsAsciiLetter(text[2]);
    const std::wstring_view rest = text.substr(isShare ? 2 : 0);
    return (isDrive || isShare) && HasOtherEscape(rest) && rest.find(L"\\\\") == std::wstring_view::npos &&
           rest.find(L"\\\"") == std::wstring_view::npos;
}

class TokenChecker {
public:
    TokenChecker(std::wstring_view text, Problems& problems) : m_text(text), m_problems(problems) {}

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

    void Warn(const char* code, int32_t begin, int32_t end, std::string text, std::string fix,
              TextEdits edits = {}) {
        AddWarning(m_problems, code, begin, end, std::move(text), std::move(fix), std::move(edits));
    }

    static std::wstring_view Digits(std::wstring_view number) {
        const bool isSigned = number.front() == L'+' || number.front() == L'-';
        return isSigned ? number.substr(1) : number;
    }

    void CheckInteger(const DocumentNode& node) {
        const std::wstring_view number = Piece(node.begin, node.end);
        const std::wstring_view digits = Digits(number);
        if (digits.empty()) {
            Warn("lone-sign", node.begin, node.end, "a sign without digits is read as 0", "write the number");
            return;
        }
        constexpr std::wstring_view kLargest = L"9223372036854775807";
        const std::wstring_view significant =
            digits.substr(std::min(digits.find_first_not_of(L'0'), digits.size()));
        if (significant.size() > kLargest.size() ||
            (significant.size() == kLargest.size() && significant > kLargest)) {
            Warn("too-large", node.begin, node.end,
                 Quoted(number) + " does not fit into 64 bits and is read as " +
                     (number.front() == L'-' ? "-" : "") + Utf8(kLargest),
                 "write a smaller number, or one with a point");
        }
    }

    void CheckNumber(const DocumentNode& node) {
        const std::wstring_view number = Piece(node.begin, node.end);
        const std::wstring_view digits = Digits(number);
        const bool isPadded = digits.size() > 1 && digits[0] == L'0' && digits[1] != L'.';
        const bool hasBarePoint = !digits.empty() && (digits.front() == L'.' || digits.back() == L'.');
        if (number.front() != L'+' && !isPadded && !hasBarePoint) {
            return;
        }
        if (digits.empty()) {
            return; // reported as a lone sign
        }
        const std::wstring plain = (number.front() == L'-' ? L"-" : L"") + PlainDigits(digits);
        Warn("odd-number", node.begin, node.end,
             "the number " + Quoted(number) + " is not in the form of JSON", "write " + Utf8(plain),
             {{node.begin, node.end, plain}});
    }

    // Without leading zeros, with a digit on both sides of the point.
    static std::wstring PlainDigits(std::wstring_view digits) {
        const size_t zeros = std::min(digits.find_first_not_of(L'0'), digits.size());
        std::wstring plain(digits.substr(zeros));
        if (plain.empty() || plain.front() == L'.') {
            plain.insert(0, 1, L'0');
        }
        return plain.back() == L'.' ? plain + L'0' : plain;
    }

    void CheckLiteral(const DocumentNode& node) {
        const std::wstring_view word = Piece(node.begin, node.end);
        if (std::none_of(word.begin(), word.end(), [](wchar_t unit) { return unit < L'a'; })) {
            return;
        }
        std::wstring lower(word);
        std::transform(lower.begin(), lower.end(), lower.begin(), AsciiLower);
        Warn("literal-case", node.begin, node.end, Quoted(word) + " is not in lower case",
             "write " + Utf8(lower), {{node.begin, node.end, lower}});
    }

    void CheckName(int32_t begin, int32_t end) {
        const std::wstring_view first = Piece(begin, begin + 1);
        if (first != L"\"") {
            const bool isOfName = IsAsciiLetter(first[0]) || first[0] == L'_';
            Warn("lost-unit", begin, begin + 1,
                 "the name does not begin with a quote, so its first character, " + Quoted(first) +
                     ", is lost",
                 "write a quote before the name", isOfName ? TextEdits{{begin, begin, L"\""}} : TextEdits());
        }
        CheckText(begin, end);
    }

    void CheckText(int32_t begin, int32_t end) {
        const bool isClosed = IsClosedText(m_text, begin, end);
        const std::wstring_view content = Piece(begin + 1, isClosed ? end - 1 : end);
        if (IsRawPath(content)) {
            WarnOfPath(begin + 1, content);
            return;
        }
        m_control = nullptr;
        m_isHazardReported = false;
        WalkText(
            m_text, begin, end, [&](int32_t offset, int32_t units) { CheckEscape(offset, units); },
            [&](int32_t offset) { CheckUnit(offset); });
        if (!isClosed) {
            Warn("unclosed-text", begin, begin + 1, "the text that begins here has no closing quote",
                 "add a quote at its end");
        }
    }

    void WarnOfPath(int32_t begin, std::wstring_view content) {
        TextEdits edits;
        for (size_t i = 0; i < content.size(); ++i) {
            if (content[i] == L'\\') {
                const int32_t offset = begin + static_cast<int32_t>(i);
                edits.push_back({offset, offset, L"\\"});
            }
        }
        Warn("backslash", begin, begin + static_cast<int32_t>(content.size()),
             "a single backslash begins an escape, so that the path is read as another one",
             "write two backslashes for each one", std::move(edits));
    }

    // All control characters of one text are one problem.
    void CheckUnit(int32_t offset) {
        const wchar_t unit = m_text[static_cast<size_t>(offset)];
        if (unit == 0) {
            WarnOfZero(offset, 1);
            return;
        }
        if (unit >= 0x20) {
            return;
        }
        const bool isLineBreak = unit == L'\n' || unit == L'\r';
        const std::wstring escape = unit == L'\n'   ? L"\\n"
                                    : unit == L'\r' ? L"\\r"
                                    : unit == L'\t' ? L"\\t"
                                                    : HexEscapeOf(unit);
        if (!m_control) {
            m_control = &AddWarning(m_problems, "raw-control", offset, offset + 1,
                                    (isLineBreak     ? std::string("a line break inside a text")
                                     : unit == L'\t' ? std::string("a tab inside a text")
                                                     : std::string("a control character inside a text")),
                                    isLineBreak ? "write \\n, or add the closing quote if that is missing"
                                                : "write " + Utf8(escape));
        }
        m_control->edits.push_back({offset, offset + 1, escape});
    }

    void WarnOfZero(int32_t offset, int32_t units) {
        m_control = nullptr;
        Warn("zero-character", offset, offset + units,
             "a zero character ends the text here for most programs that read it", "remove it");
    }

    void CheckEscape(int32_t offset, int32_t units) {
        m_control = nullptr;
        const std::wstring_view escape = Piece(offset, offset + units);
        if (escape.size() > 1 && escape[1] == L'u') {
            CheckHexEscape(offset, escape);
        } else if (escape.size() == 2 && escape[1] != L'\\' && SimpleEscape(escape[1]) == L'\\') {
            const std::wstring hex = escape[1] == L'b' ? L"\\u0008" : escape[1] == L'f' ? L"\\u000C" : L"";
            Warn("lost-escape", offset, offset + units,
                 "the module does not know the escape " + Quoted(escape) +
                     ": it reads a backslash, and the letter is lost",
                 hex.empty() ? "write two backslashes for a backslash" : "write " + Utf8(hex),
                 hex.empty() ? TextEdits() : TextEdits{{offset, offset + units, hex}});
        }
    }

    void CheckHexEscape(int32_t offset, std::wstring_view escape) {
        const auto units = static_cast<int32_t>(escape.size());
        if (units < kHexEscapeUnits) {
            return; // the end of the text cuts it short, which is reported already
        }
        int32_t value = 0;
        for (const wchar_t digit : escape.substr(2)) {
            value = HexDigit(digit) < 0 || value < 0 ? -1 : value * 16 + HexDigit(digit);
        }
        if (value < 0) {
            Warn("wrong-escape", offset, offset + units,
                 "the escape " + Quoted(escape) + " has fewer than four hexadecimal digits",
                 "write \\u and four of the digits 0 to 9 and A to F");
        } else if (value == 0) {
            WarnOfZero(offset, units);
        } else if (value == 8 || value == 12) {
            WarnOfSave(offset, units,
                       "any save to this file rewrites this escape as one that the module does not know",
                       "remove it");
        } else if (value >= 0x80) {
            WarnOfSave(offset, units,
                       "any save to this file rewrites this escape as raw bytes: depending on the machine's "
                       "code page, "
                       "the module then refuses the file or reads other characters",
                       "use ASCII characters if settings are saved to this file");
        }
    }

    // Once for each text.
    void WarnOfSave(int32_t offset, int32_t units, std::string text, std::string fix) {
        if (!m_isHazardReported) {
            Warn("save-hazard", offset, offset + units, std::move(text), std::move(fix));
        }
        m_isHazardReported = true;
    }

    std::wstring_view m_text;
    Problems& m_problems;
    Problem* m_control = nullptr; // the problem of the text at hand, as long as it is the last one
    bool m_isHazardReported = false;
};

} // namespace

void CheckTokens(std::wstring_view text, const DocumentMap& document, Problems& problems) {
    TokenChecker checker(text, problems);
    for (const DocumentNode& node : document.Nodes()) {
        checker.Check(node);
    }
}

void CheckCommas(std::wstring_view text, const DocumentMap& document, Problems& problems) {
    for (const int32_t offset : document.MissingCommas()) {
        // After the value before it.
        const size_t last = text.find_last_not_of(L" \t\r\n", static_cast<size_t>(offset) - 1);
        const auto end = static_cast<int32_t>(last) + 1;
        AddWarning(problems, "missing-comma", offset, offset + 1, "missing comma before this", "add one",
                   {{end, end, L","}});
    }
    for (const int32_t offset : document.TrailingCommas()) {
        AddWarning(problems, "trailing-comma", offset, offset + 1, "trailing comma before closing bracket",
                   "remove it", {{offset, offset + 1, L""}});
    }
}

bool IsMisread(const Problems& tokenProblems) {
    return std::any_of(tokenProblems.begin(), tokenProblems.end(), [](const Problem& problem) {
        const std::string_view code = problem.code;
        const auto isLineBreak = [](const TextEdit& edit) {
            return edit.text == L"\\n" || edit.text == L"\\r";
        };
        return code == "lost-unit" || (code == "raw-control" &&
                                       std::any_of(problem.edits.begin(), problem.edits.end(), isLineBreak));
    });
}

} // namespace zq
