#include "check/Checks.h"
#include "check/Quote.h"
#include "check/TextToken.h"

#include <algorithm>

namespace zq {

namespace {

class FaultTeller {
public:
    FaultTeller(const SourceText& source, const DocumentMap& document, Problems& problems)
        : m_source(source), m_document(document), m_problems(problems), m_place(document.Fault()->place),
          m_fault(document.Fault()->fault) {
        // What was taken for a name without beginning with a quote is where it went wrong.
        const DocumentNode& name = document.UnfinishedName();
        if (name.HasKey() && UnitAt(name.keyBegin) != L"\"") {
            m_place = name.keyBegin;
            m_fault = JsonFault::NoKey;
        }
    }

    void Tell() const {
        switch (m_fault) {
        case JsonFault::Empty:
            return Add("empty", 0, "the file holds no document", "write {} or [] at least");
        case JsonFault::NeverClosed:
            return Add("unclosed", 1, Quoted(UnitAt(m_place)) + " is never closed",
                       "close it with " + Quoted(UnitAt(m_place) == L"{" ? L"}" : L"]"));
        case JsonFault::Unfinished:
            return TellUnfinished();
        case JsonFault::NoKey:
            return TellNoKey();
        case JsonFault::NoColon:
            return TellNoColon();
        case JsonFault::SecondPoint:
            return Add("second-point", NumberUnits(),
                       "the number " + Quoted(Units(NumberUnits())) + " has a second point",
                       "write one point, or put it in quotes");
        case JsonFault::NumberAtEnd:
            return Add("number-at-end", NumberUnits(),
                       "the file ends with the number " + Quoted(Units(NumberUnits())) +
                           ", and a number must have something behind it",
                       "put it into brackets");
        case JsonFault::WrongLiteral:
            return Add("wrong-literal", WordUnits(), Quoted(Units(WordUnits())) + " is no value",
                       "write true, false, null, or put it in quotes");
        case JsonFault::NoValue:
            return TellNoValue();
        }
    }

private:
    std::wstring_view Units(int32_t count) const {
        return std::wstring_view(m_source.Text())
            .substr(static_cast<size_t>(m_place), static_cast<size_t>(count));
    }
    std::wstring_view UnitAt(int32_t place) const {
        return std::wstring_view(m_source.Text()).substr(static_cast<size_t>(place), 1);
    }

    int32_t CountWhile(auto belongs) const {
        const std::wstring& text = m_source.Text();
        const auto first = text.begin() + m_place;
        return static_cast<int32_t>(std::find_if_not(first, text.end(), belongs) - first);
    }
    int32_t NumberUnits() const {
        return CountWhile([](wchar_t unit) {
            return (unit >= L'0' && unit <= L'9') || unit == L'.' || unit == L'+' || unit == L'-';
        });
    }
    int32_t WordUnits() const {
        return CountWhile([](wchar_t unit) {
            return unit > 32 && std::wstring_view(L",:{}[]\"").find(unit) == std::wstring_view::npos;
        });
    }

    // The text ends inside a container; a text whose quote is missing may have swallowed its end.
    void TellUnfinished() const {
        const DocumentNode& open = m_document.Nodes()[static_cast<size_t>(m_document.OpenAtFault())];
        const TextPosition start = m_source.PositionOf(open.begin);
        const DocumentNode& last = m_document.Nodes().back();
        if (last.kind == JsonKind::String && !IsClosedText(m_source.Text(), last.begin, last.end)) {
            AddError(m_problems, "unclosed-text", last.begin, last.begin + 1,
                     "the text that begins here runs to the end of the file", "close it with a quote");
            return;
        }
        Add("unclosed", 0,
            "the file ends inside of the " + Quoted(UnitAt(open.begin)) + " of line " +
                std::to_string(start.line) + ", column " + std::to_string(start.column),
            "close it with " + Quoted(open.kind == JsonKind::Object ? L"}" : L"]"));
    }

    bool TellWrongBracket() const {
        const std::wstring_view unit = UnitAt(m_place);
        if (unit != L"}" && unit != L"]") {
            return false;
        }
        const int32_t open = m_document.OpenAtFault();
        if (open == DocumentNode::kNone) {
            Add("wrong-bracket", 1, Quoted(unit) + " closes nothing", "take it away");
            return true;
        }
        const DocumentNode& container = m_document.Nodes()[static_cast<size_t>(open)];
        const bool isObject = container.kind == JsonKind::Object;
        if (isObject == (unit == L"}")) {
            return false;
        }
        const TextPosition start = m_source.PositionOf(container.begin);
        Add("wrong-bracket", 1,
            Quoted(unit) + " does not close the " + Quoted(isObject ? L"{" : L"[") + " of line " +
                std::to_string(start.line) + ", column " + std::to_string(start.column),
            "close it with " + Quoted(isObject ? L"}" : L"]"));
        return true;
    }

    // Behind a number and without a blank between.
    bool TellExponent() const {
        if (m_place == 0 || (UnitAt(m_place) != L"e" && UnitAt(m_place) != L"E")) {
            return false;
        }
        const std::wstring_view before = UnitAt(m_place - 1);
        if ((before < L"0" || before > L"9") && before != L".") {
            return false;
        }
        Add("exponent", WordUnits(), "a number may have no exponent",
            "write the number out, without " + Quoted(Units(WordUnits())));
        return true;
    }

    void TellNoKey() const {
        if (!TellWrongBracket() && !TellExponent()) {
            Add("no-name", std::max(WordUnits(), 1), "a name in quotes should stand here",
                "write \"Name\": and a value");
        }
    }

    void TellNoColon() const {
        Add("no-colon", 1, "a colon should stand here, behind the name",
            "write \"Name\": and a value; a quote may be missing or too many in front of it");
    }

    void TellNoValue() const {
        if (TellWrongBracket() || TellExponent()) {
            return;
        }
        if (UnitAt(m_place) == L",") {
            Add("no-value", 1, "a value should stand here, in front of the comma",
                "write the value or take the comma away");
            return;
        }
        const int32_t units = std::max(WordUnits(), 1);
        Add("no-value", units, Quoted(Units(units)) + " is no value",
            "put a text in quotes; comments are not possible");
    }

    void Add(const char* code, int32_t units, std::string text, std::string mend) const {
        AddError(m_problems, code, m_place, m_place + units, std::move(text), std::move(mend));
    }

    const SourceText& m_source;
    const DocumentMap& m_document;
    Problems& m_problems;
    int32_t m_place;
    JsonFault m_fault;
};

} // namespace

void CheckFault(const SourceText& source, const DocumentMap& document, Problems& problems) {
    if (document.Fault()) {
        FaultTeller(source, document, problems).Tell();
    }
}

} // namespace zq
