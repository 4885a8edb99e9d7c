// The tokens of a text that may be broken, from the next one on, and what they say about the brackets.
//
// Portable. The text outlives the cursor.
#pragma once

#include "check/LenientToken.h"
#include "check/Problem.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zq {

class TokenCursor {
public:
    // Reads all tokens; their own faults go to `problems` and `unsafe`, as LenientLexer describes.
    TokenCursor(std::wstring_view text, Problems& problems, TextEdits& unsafe);

    // The last token, which is the end of the text, is never passed.
    const LenientToken& Peek(size_t ahead = 0) const;
    const LenientToken& Take() { return m_tokens[m_next < m_tokens.size() - 1 ? m_next++ : m_next]; }

    // The token taken last. REQUIRES: one was taken.
    const LenientToken& Last() const { return m_tokens[m_next - 1]; }
    // The next token and all that follow it.
    std::span<const LenientToken> Rest() const { return std::span(m_tokens).subspan(m_next); }

    // Whether a name and its colon are there.
    bool IsNameAt(size_t ahead) const;
    // From the next token on, the closing brackets whose opening one came before.
    size_t UnmatchedClosers() const { return m_unmatched[m_next]; }

    std::wstring_view Piece(const LenientToken& token) const;
    // In one pair of quotes, for people.
    std::string Shown(const LenientToken& token) const;

private:
    void CountUnmatched();

    std::wstring_view m_text;
    std::vector<LenientToken> m_tokens;
    std::vector<size_t> m_unmatched; // by token
    size_t m_next = 0;
};

} // namespace zq
