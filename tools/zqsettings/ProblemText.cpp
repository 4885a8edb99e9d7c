#include "ProblemText.h"

#include "Text.h"

#include "check/Quote.h"

#include <algorithm>

namespace zq::tool {

namespace {

constexpr const char* kBold = "\x1B[1m";
constexpr const char* kRed = "\x1B[1;31m";
constexpr const char* kMagenta = "\x1B[1;35m";
constexpr const char* kGreen = "\x1B[1;32m";
constexpr const char* kPlain = "\x1B[0m";

bool IsLowSurrogate(wchar_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

std::wstring VisibleLine(std::wstring_view text) {
    std::wstring visible(text);
    std::replace_if(visible.begin(), visible.end(), IsControlUnit, L' ');
    return visible;
}

size_t Characters(std::wstring_view text) {
    return text.size() - static_cast<size_t>(std::count_if(text.begin(), text.end(), IsLowSurrogate));
}

std::string Paint(const char* colour, const std::string& text, bool hasColour) {
    return hasColour ? colour + text + kPlain : text;
}

// As much of the line as fits around its problem.
class Excerpt {
public:
    Excerpt(const SourceText& source, const Problem& problem) : m_line(source.LineAt(problem.begin)) {
        const auto lineStart = static_cast<size_t>(m_line.data() - source.Text().data());
        m_begin = std::min(static_cast<size_t>(problem.begin) - lineStart, m_line.size());
        m_end = std::clamp(static_cast<size_t>(problem.end) - lineStart, m_begin, m_line.size());
        m_from = m_begin > kBefore ? m_begin - kBefore : 0;
        m_from += m_from < m_line.size() && IsLowSurrogate(m_line[m_from]) ? 1 : 0;
        m_to = std::min(m_from + kWidth, m_line.size());
    }

    std::string Line() const {
        return Utf8FromWide(Lead() + VisibleLine(m_line.substr(m_from, m_to - m_from)));
    }

    std::string Blanks() const {
        return std::string(Lead().size() + Characters(m_line.substr(m_from, m_begin - m_from)), ' ');
    }

    std::string Mark() const {
        const size_t shownEnd = std::min(m_end, m_to);
        const size_t characters =
            shownEnd > m_begin ? Characters(m_line.substr(m_begin, shownEnd - m_begin)) : 1;
        return '^' + std::string(std::max<size_t>(characters, 1) - 1, '~');
    }

private:
    static constexpr size_t kBefore = 60;
    static constexpr size_t kWidth = 100;

    std::wstring Lead() const { return m_from > 0 ? L"..." : L""; }

    std::wstring_view m_line;
    size_t m_begin;
    size_t m_end;
    size_t m_from;
    size_t m_to;
};

size_t CountOf(const FileCheck& check, Severity severity) {
    return static_cast<size_t>(
        std::count_if(check.All().begin(), check.All().end(),
                      [severity](const Problem& problem) { return problem.severity == severity; }));
}

} // namespace

std::string ProblemText(const std::string& file, const SourceText& source, const Problem& problem,
                        bool hasColour) {
    const TextPosition position = source.PositionOf(problem.begin);
    const bool isError = problem.severity == Severity::Error;
    std::string text =
        Paint(kBold, file + ':' + std::to_string(position.line) + ':' + std::to_string(position.column) + ':',
              hasColour);
    text += ' ' + Paint(isError ? kRed : kMagenta, isError ? "error:" : "warning:", hasColour) + ' ' +
            problem.text;
    text += problem.fix.empty() ? "\n" : "; " + problem.fix + '\n';

    const Excerpt excerpt(source, problem);
    text += "  " + excerpt.Line() + '\n';
    text += "  " + excerpt.Blanks() + Paint(kGreen, excerpt.Mark(), hasColour) + '\n';
    return text;
}

std::string VerdictText(const std::string& file, const FileCheck& check) {
    const size_t errors = CountOf(check, Severity::Error);
    const size_t warnings = CountOf(check, Severity::Warning);
    std::string text = file + ": ";
    text += check.IsAccepted() ? "accepted" : "refused: the module would replace it with its default copy";
    if (errors + warnings > 0) {
        text += check.IsAccepted() ? ", with " : " (";
        text += errors > 0 ? Counted(errors, "error") : "";
        text += errors > 0 && warnings > 0 ? ", " : "";
        text += warnings > 0 ? Counted(warnings, "warning") : "";
        text += check.IsAccepted() ? "" : ")";
    }
    if (check.IsAccepted() && !check.IsSavable()) {
        text += "; nothing can be saved to it until it is JSON";
    }
    return text + '\n';
}

} // namespace zq::tool
