#include "check/TextEdit.h"

#include <algorithm>

namespace zq {

EditedText::EditedText(std::wstring_view original, TextEdits edits) {
    std::stable_sort(edits.begin(), edits.end(),
                     [](const TextEdit& a, const TextEdit& b) { return a.begin < b.begin; });
    int32_t copied = 0;
    const auto startPiece = [this](int32_t offset, bool isReplaced) {
        m_pieces.push_back({static_cast<int32_t>(m_text.size()), offset, isReplaced});
    };
    startPiece(0, false);
    for (const TextEdit& edit : edits) {
        if (edit.begin < copied) {
            continue;
        }
        m_text += original.substr(static_cast<size_t>(copied), static_cast<size_t>(edit.begin - copied));
        startPiece(edit.begin, true);
        m_text += edit.text;
        copied = edit.end;
        startPiece(copied, false);
    }
    m_text += original.substr(static_cast<size_t>(copied));
}

int32_t EditedText::OriginalOffset(int32_t offset) const {
    const auto next = std::upper_bound(m_pieces.begin(), m_pieces.end(), offset,
                                       [](int32_t o, const Piece& piece) { return o < piece.edited; });
    const Piece& piece = *(next - 1);
    return piece.isReplaced ? piece.original : piece.original + (offset - piece.edited);
}

} // namespace zq
