// Strings of the JSON reader: the escapes that are known, and those that are lost.
#include "config/json/JsonReader.h"

#include "config/json/JsonEscape.h"
#include "config/json/WideScan.h"

#include <algorithm>

namespace zq {

namespace {

// The value of the longest run of digits at the front of the four units, or `previous` where there is none.
int32_t HexEscape(const wchar_t* digits, int32_t previous) {
    int32_t value = HexDigit(digits[0]);
    if (value < 0) {
        return previous;
    }
    for (int i = 1; i < 4; ++i) {
        const int32_t digit = HexDigit(digits[i]);
        if (digit < 0) {
            break;
        }
        value = value * 16 + digit;
    }
    return value;
}

// Reads a string from its first escape on. `out` has room for all units of the text: no escape grows.
class EscapedString {
public:
    EscapedString(const wchar_t* text, int32_t length, wchar_t* out)
        : m_text(text), m_length(length), m_out(out) {}

    // Reads from `place` up to the closing quote or the end; returns the place behind it.
    int32_t Read(int32_t place) {
        while (place < m_length && m_text[place] != L'"') {
            place = m_text[place] == L'\\' ? ReadEscape(place)
                                           : Copy(place, FindQuoteOrBackslash(m_text, place, m_length));
        }
        return place < m_length ? place + 1 : place;
    }

    const wchar_t* End() const { return m_out; }

private:
    int32_t Copy(int32_t from, int32_t to) {
        m_out = std::copy(m_text + from, m_text + to, m_out);
        return to;
    }

    int32_t ReadEscape(int32_t place) {
        const int32_t left = m_length - place;
        if (left == 1) {
            return Copy(place, m_length);
        }
        if (m_text[place + 1] != L'u') {
            *m_out++ = SimpleEscape(m_text[place + 1]);
            return place + 2;
        }
        if (left < kHexEscapeUnits) {
            return Copy(place, m_length);
        }
        m_lastHex = HexEscape(m_text + place + 2, m_lastHex);
        *m_out++ = static_cast<wchar_t>(m_lastHex);
        return place + kHexEscapeUnits;
    }

    const wchar_t* m_text;
    int32_t m_length;
    wchar_t* m_out;
    int32_t m_lastHex = 0;
};

// An upper bound of the units up to the closing quote: an escaped one does not close.
int32_t UnitsToCloseFrom(const wchar_t* text, int32_t length, int32_t place) {
    while (place < length && text[place] != L'"') {
        place += text[place] == L'\\' ? EscapeUnits(text + place, length - place) : 1;
    }
    return place;
}

} // namespace

int32_t ParseJsonString(std::wstring_view& result, Arena& arena, const wchar_t* text, int32_t length) {
    if (!text || length < 1) {
        return -1;
    }
    const int32_t plain = FindQuoteOrBackslash(text, 1, length);
    if (plain < length && text[plain] == L'"') {
        result = std::wstring_view(text + 1, static_cast<size_t>(plain - 1));
        return plain + 1;
    }
    if (*text != L'"' && std::find(text + plain, text + length, L'"') == text + length) {
        return -1;
    }
    if (plain >= length) {
        result = std::wstring_view(text + 1, static_cast<size_t>(length - 1));
        return length;
    }
    auto* copy = arena.Allocate<wchar_t>(static_cast<size_t>(UnitsToCloseFrom(text, length, plain)));
    EscapedString string(text, length, std::copy(text + 1, text + plain, copy));
    const int32_t count = string.Read(plain);
    result = std::wstring_view(copy, static_cast<size_t>(string.End() - copy));
    return count;
}

} // namespace zq
