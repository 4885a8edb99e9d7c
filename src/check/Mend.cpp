#include "check/Mend.h"

#include "check/DocumentMap.h"
#include "check/Quote.h"
#include "check/TextToken.h"
#include "base/HostLog.h"
#include "variables/VariableBatch.h"

#include <algorithm>
#include <vector>

namespace zq {

namespace {

// What may stand as it is: a raw zero would make the file look like UTF-16, or like a torn one.
bool IsPlain(wchar_t unit) { return unit > 0 && unit < 0x80; }

// Rewrites the tokens of a text, unit by unit; whatever stands between them is ASCII or could not be read.
class AsciiWriter {
public:
    explicit AsciiWriter(std::wstring_view text) : m_text(text) {}

    void WriteText(int32_t begin, int32_t end) {
        CopyTo(begin);
        // A name may begin with any unit, which is not looked at.
        m_out += IsPlain(At(begin)) ? static_cast<char>(At(begin)) : '"';
        m_written = begin + 1;
        WalkText(
            m_text, begin, end,
            [this](int32_t place, int32_t units) {
                CopyTo(place);
                WriteEscape(place, units);
            },
            [this](int32_t place) {
                CopyTo(place);
                WriteUnit(At(place));
                m_written = place + 1;
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
    wchar_t At(int32_t place) const { return m_text[static_cast<size_t>(place)]; }

    void CopyTo(int32_t place) {
        for (; m_written < place; ++m_written) {
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

    // Such a unit inside an escape is lost in the reading; one that reads the same takes its place.
    void WriteEscape(int32_t place, int32_t units) {
        const bool isHex = units > 1 && At(place + 1) == L'u';
        constexpr char kNoDigit = 'g';
        for (int32_t i = place; i < place + units; ++i) {
            m_characters += IsPlain(At(i)) ? 0 : 1;
            m_out += IsPlain(At(i)) ? static_cast<char>(At(i)) : isHex ? kNoDigit : '\\';
        }
        m_written = place + units;
    }

    std::wstring_view m_text;
    std::string m_out;
    int32_t m_written = 0;
    size_t m_characters = 0;
};

struct FlatDocument {
    explicit FlatDocument(std::wstring_view text) { document.Read(root, text); }

    // Returns whether the file can be loaded, once its text is.
    bool Flatten(ConfigFile file) {
        return document.Result() >= 1 && FlattenConfig(file, root, batch, HostLog());
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
        return VariableBatch::TextOf(a) == VariableBatch::TextOf(b);
    }
    return false;
}

bool IsLoadedAs(ConfigFile file, std::string_view bytes, const VariableBatch& wanted) {
    ConfigText config(file);
    VariableBatch batch;
    if (!config.Read(bytes) || !config.Flatten(batch, HostLog())) {
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

} // namespace

std::optional<MendedFile> MendFile(ConfigFile file, std::string_view bytes) {
    const SourceText source(bytes);
    const std::wstring_view text = source.Text();
    FlatDocument original(text);
    if (!original.Flatten(file)) {
        return {};
    }
    const std::wstring_view rest = text.substr(static_cast<size_t>(original.document.Result()));
    if (std::any_of(rest.begin(), rest.end(), [](wchar_t unit) { return unit > 32; })) {
        return {};
    }
    MendedFile mended;
    mended.bytes = AsciiText(original.document, text, mended.characters);
    if (!IsLoadedAs(file, mended.bytes, original.batch)) {
        return {};
    }
    mended.encoding = source.GetEncoding();
    mended.trailing = rest.size();
    mended.zeroBytes = source.ZeroBytes();
    mended.isChanged = mended.bytes != bytes;
    return mended;
}

} // namespace zq
