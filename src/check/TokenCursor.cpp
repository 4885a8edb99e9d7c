#include "check/TokenCursor.h"

#include "check/Quote.h"

#include <algorithm>

namespace zq {

namespace {

using TokenKind = LenientToken::Kind;

} // namespace

TokenCursor::TokenCursor(std::wstring_view text, Problems& problems, TextEdits& unsafe) : m_text(text) {
    LenientLexer lexer(text, problems, unsafe);
    do {
        m_tokens.push_back(lexer.Next());
    } while (!m_tokens.back().Is(TokenKind::End));
    CountUnmatched();
}

const LenientToken& TokenCursor::Peek(size_t ahead) const {
    return m_tokens[std::min(m_next + ahead, m_tokens.size() - 1)];
}

bool TokenCursor::IsNameAt(size_t ahead) const {
    return (Peek(ahead).Is(TokenKind::Text) || Peek(ahead).Is(TokenKind::Word)) &&
           Peek(ahead + 1).Is(TokenKind::Colon);
}

std::wstring_view TokenCursor::Piece(const LenientToken& token) const {
    return m_text.substr(static_cast<size_t>(token.begin), static_cast<size_t>(token.end - token.begin));
}

std::string TokenCursor::Shown(const LenientToken& token) const {
    std::wstring_view piece = Piece(token);
    if (piece.starts_with(L'"')) {
        piece.remove_prefix(1);
        piece.remove_suffix(piece.ends_with(L'"') ? 1 : 0);
    }
    return Quoted(piece);
}

void TokenCursor::CountUnmatched() {
    m_unmatched.assign(m_tokens.size() + 1, 0);
    for (size_t i = m_tokens.size(); i-- > 0;) {
        const size_t after = m_unmatched[i + 1];
        m_unmatched[i] = m_tokens[i].Is(TokenKind::Close)  ? after + 1
                         : m_tokens[i].Is(TokenKind::Open) ? after - (after > 0 ? 1 : 0)
                                                           : after;
    }
}

} // namespace zq
