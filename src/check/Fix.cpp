#include "check/Fix.h"

#include "base/HostLog.h"
#include "check/Checks.h"
#include "check/DocumentMap.h"
#include "check/Quote.h"
#include "check/Recovery.h"
#include "check/TextToken.h"
#include "variables/VariableBatch.h"

#include <algorithm>
#include <vector>

namespace zq {

namespace {

// What may stay as it is: a raw zero would make the file look like UTF-16, or like a torn one.
bool IsPlain(wchar_t unit) { return unit > 0 && unit < 0x80; }

// Rewrites the tokens of a text, unit by unit; whatever is between them is ASCII or could not be read.
class AsciiWriter {
public:
    explicit AsciiWriter(std::wstring_view text) : m_text(text) {}

    void WriteText(int32_t begin, int32_t end) {
        CopyTo(begin);
        // A name may begin with any unit, so the first one is not checked.
        m_out += IsPlain(At(begin)) ? static_cast<char>(At(begin)) : '"';
        m_written = begin + 1;
        WalkText(
            m_text, begin, end,
            [this](int32_t offset, int32_t units) {
                CopyTo(offset);
                WriteEscape(offset, units);
            },
            [this](int32_t offset) {
                CopyTo(offset);
                WriteUnit(At(offset));
                m_written = offset + 1;
            });
        CopyTo(end);
    }

    // The rest up to `end`.
    std::string Finish(int32_t end) {
        CopyTo(end);
        return std::move(m_out);
    }

    size_t Characters() const { return m_characters; }

private:
    wchar_t At(int32_t offset) const { return m_text[static_cast<size_t>(offset)]; }

    void CopyTo(int32_t offset) {
        for (; m_written < offset; ++m_written) {
            m_out += static_cast<char>(At(m_written));
        }
    }

    void WriteUnit(wchar_t unit) {
        if (IsPlain(unit)) {
            m_out += static_cast<char>(unit);
            return;
        }
        m_out += Utf8(HexEscapeOf(unit));
        ++m_characters;
    }

    // Such a unit inside an escape is lost in the reading; one that reads the same takes its offset.
    void WriteEscape(int32_t offset, int32_t units) {
        const bool isHex = units > 2; // no other escape is that long
        constexpr char kNoDigit = 'g';
        for (int32_t i = offset; i < offset + units; ++i) {
            m_characters += IsPlain(At(i)) ? 0 : 1;
            m_out += IsPlain(At(i)) ? static_cast<char>(At(i)) : isHex ? kNoDigit : '\\';
        }
        m_written = offset + units;
    }

    std::wstring_view m_text;
    std::string m_out;
    int32_t m_written = 0;
    size_t m_characters = 0;
};

struct FlatDocument {
    FlatDocument(ConfigFile file, std::wstring_view text) {
        document.Read(root, text);
        FlattenConfig(file, root, batch, HostLog()); // a root of the wrong kind gives no variables
    }

    JsonRoot root;
    DocumentMap document;
    VariableBatch batch;
};

bool IsSame(const VariableBatch::Entry& a, const VariableBatch::Entry& b) {
    if (a.kind != b.kind || VariableBatch::NameOf(a) != VariableBatch::NameOf(b)) {
        return false;
    }
    switch (a.kind) {
    case VariableBatch::Kind::Bool:
        return a.boolean == b.boolean;
    case VariableBatch::Kind::Int64:
    case VariableBatch::Kind::Number:
        return a.integer == b.integer;
    case VariableBatch::Kind::Double:
        return a.real == b.real;
    case VariableBatch::Kind::String:
        break;
    }
    return VariableBatch::TextOf(a) == VariableBatch::TextOf(b);
}

bool IsLoadedAs(ConfigFile file, std::string_view bytes, const VariableBatch& wanted) {
    ConfigText config(file);
    VariableBatch batch;
    if (!config.ReadTree(bytes) || !FlattenConfig(file, config.Root(), batch, HostLog())) {
        return false;
    }
    return std::equal(batch.Entries().begin(), batch.Entries().end(), wanted.Entries().begin(),
                      wanted.Entries().end(), IsSame);
}

std::string AsciiText(const DocumentMap& document, std::wstring_view text, size_t& characters) {
    AsciiWriter writer(text);
    for (const DocumentNode& node : document.Nodes()) {
        if (node.HasKey()) {
            writer.WriteText(node.keyBegin, node.keyEnd);
        }
        if (node.kind == JsonKind::String) {
            writer.WriteText(node.begin, node.end);
        }
    }
    std::string ascii = writer.Finish(document.Result());
    characters = writer.Characters();
    return ascii;
}

// The problems of a text that can be read.
Problems ProblemsOf(std::wstring_view text, const DocumentMap& document) {
    Problems problems;
    CheckTokens(text, document, problems);
    CheckCommas(text, document, problems);
    return problems;
}

Recovered FaultsOf(std::wstring_view text, const DocumentMap& document, bool isReadable) {
    Recovered readable;
    if (isReadable) {
        readable.problems = ProblemsOf(text, document);
        if (!IsMisread(readable.problems)) {
            return readable;
        }
    }
    Recovered recovered = Recover(text);
    return isReadable && recovered.problems.empty() ? readable : recovered;
}

// Edits the text until there is nothing left to edit. Returns false if only the author knows what was meant.
bool EditAll(std::wstring& text, std::map<std::string_view, size_t>& fixed) {
    constexpr int kMostRounds = 8;
    for (int round = 0; round < kMostRounds; ++round) {
        JsonRoot root;
        DocumentMap document;
        document.Read(root, text);
        const bool isReadable =
            document.Result() >= 1 &&
            IsBlank(std::wstring_view(text).substr(static_cast<size_t>(document.Result())));
        Recovered recovered = FaultsOf(text, document, isReadable);
        if (!recovered.isCertain) {
            return false;
        }
        TextEdits edits;
        for (const Problem& problem : recovered.problems) {
            if (!problem.edits.empty()) {
                ++fixed[problem.code];
                edits.insert(edits.end(), problem.edits.begin(), problem.edits.end());
            }
        }
        if (edits.empty()) {
            return isReadable;
        }
        text = EditedText(text, std::move(edits)).Text();
    }
    return false;
}

// Whether the result needs no further edit: escapes that were written can make a text look like a path.
bool IsSettled(std::string_view ascii) {
    const std::wstring before(ascii.begin(), ascii.end());
    std::wstring after = before;
    std::map<std::string_view, size_t> ignored;
    return EditAll(after, ignored) && after == before;
}

} // namespace

std::optional<FixedFile> FixFile(ConfigFile file, std::string_view bytes) {
    const SourceText source(bytes);
    FixedFile fixed;
    std::wstring text = source.Text();
    if (!EditAll(text, fixed.problems)) {
        return {};
    }
    const FlatDocument meant(file, text);
    fixed.bytes = AsciiText(meant.document, text, fixed.characters);
    if (!IsSettled(fixed.bytes) || !IsLoadedAs(file, fixed.bytes, meant.batch)) {
        return {};
    }
    fixed.encoding = source.GetEncoding();
    fixed.trailing = text.size() - static_cast<size_t>(meant.document.Result());
    fixed.zeroBytes = source.ZeroBytes();
    fixed.isChanged = fixed.bytes != bytes;
    return fixed;
}

} // namespace zq
