// A configuration file as its author sees it: its text, in whatever encoding an editor saved it, with lines
// and columns.
//
// Portable. The module itself knows neither lines nor most of these encodings (config/FileText.h).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zq {

enum class Encoding { Ascii, Utf8, MarkedUtf8, Utf16Little, Utf16Big, Utf32Little, Utf32Big, CodePage };

// Both counted from 1; columns count characters.
struct TextPosition {
    int32_t line;
    int32_t column;
};

class SourceText {
public:
    explicit SourceText(std::string_view bytes);

    const std::wstring& Text() const { return m_text; }
    int32_t Length() const { return static_cast<int32_t>(m_text.size()); }
    Encoding GetEncoding() const { return m_encoding; }
    // At the end of the file; they are not part of the text.
    size_t ZeroBytes() const { return m_zeroBytes; }

    // `offset` is a unit of the text, or its end.
    TextPosition PositionOf(int32_t offset) const;
    // The line that holds an offset, without its line break.
    std::wstring_view LineAt(int32_t offset) const;

private:
    int32_t LineStart(int32_t offset) const;
    void FindLines();

    std::wstring m_text;
    Encoding m_encoding;
    size_t m_zeroBytes = 0;
    std::vector<int32_t> m_lineStarts;
    bool m_hasPairs = false; // of surrogates: only then are there more units than characters
};

} // namespace zq
