// Replacements in a text, and a map from offsets in the edited text back to the original.
//
// Portable.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zq {

// Units [begin, end) are replaced by `text`; an insertion has begin == end.
struct TextEdit {
    int32_t begin;
    int32_t end;
    std::wstring text;

    friend bool operator==(const TextEdit&, const TextEdit&) = default;
};

using TextEdits = std::vector<TextEdit>;

class EditedText {
public:
    // Edits may come in any order; of two that overlap the later one is dropped. Insertions at one offset
    // keep their order.
    EditedText(std::wstring_view original, TextEdits edits);

    const std::wstring& Text() const { return m_text; }
    // An offset inside a replacement gives the beginning of what was replaced.
    int32_t OriginalOffset(int32_t offset) const;

private:
    struct Piece {
        int32_t edited;   // offset at which the piece begins
        int32_t original; // and that of the original
        bool isReplaced;
    };

    std::wstring m_text;
    std::vector<Piece> m_pieces;
};

} // namespace zq
