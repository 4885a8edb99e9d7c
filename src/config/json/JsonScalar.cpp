#include "config/json/JsonScalar.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <limits>
#include <string>
#include <system_error>

#ifdef _WIN32
#include <emmintrin.h>
#endif

namespace zq {

namespace {

// The offset of the first quote or backslash from `offset` on, or `length`. The reader's innermost loop:
// eight units a step where a wide character has 16 bits.
int32_t FindQuoteOrBackslash(const wchar_t* text, int32_t offset, int32_t length) {
#ifdef _WIN32
    constexpr int32_t kStep = 8;
    const __m128i quote = _mm_set1_epi16(L'"');
    const __m128i backslash = _mm_set1_epi16(L'\\');
    for (; length - offset >= kStep; offset += kStep) {
        const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + offset));
        const __m128i found = _mm_or_si128(_mm_cmpeq_epi16(units, quote), _mm_cmpeq_epi16(units, backslash));
        const auto bits = static_cast<uint32_t>(_mm_movemask_epi8(found));
        if (bits != 0) {
            return offset + std::countr_zero(bits) / 2;
        }
    }
#endif
    while (offset < length && text[offset] != L'"' && text[offset] != L'\\') {
        ++offset;
    }
    return offset;
}

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

    // Reads from `offset` up to the closing quote or the end; returns the offset after it.
    int32_t Read(int32_t offset) {
        while (offset < m_length && m_text[offset] != L'"') {
            offset = m_text[offset] == L'\\' ? ReadEscape(offset)
                                             : Copy(offset, FindQuoteOrBackslash(m_text, offset, m_length));
        }
        return offset < m_length ? offset + 1 : offset;
    }

    const wchar_t* End() const { return m_out; }

private:
    int32_t Copy(int32_t from, int32_t to) {
        m_out = std::copy(m_text + from, m_text + to, m_out);
        return to;
    }

    int32_t ReadEscape(int32_t offset) {
        const int32_t left = m_length - offset;
        if (left == 1) {
            return Copy(offset, m_length);
        }
        if (m_text[offset + 1] != L'u') {
            *m_out++ = SimpleEscape(m_text[offset + 1]);
            return offset + 2;
        }
        if (left < kHexEscapeUnits) {
            return Copy(offset, m_length);
        }
        m_lastHex = HexEscape(m_text + offset + 2, m_lastHex);
        *m_out++ = static_cast<wchar_t>(m_lastHex);
        return offset + kHexEscapeUnits;
    }

    const wchar_t* m_text;
    int32_t m_length;
    wchar_t* m_out;
    int32_t m_lastHex = 0;
};

// An upper bound of the units up to the closing quote: an escaped one does not close.
int32_t UnitsToCloseFrom(const wchar_t* text, int32_t length, int32_t offset) {
    while (offset < length && text[offset] != L'"') {
        offset += text[offset] == L'\\' ? EscapeUnits(text + offset, length - offset) : 1;
    }
    return offset;
}

bool IsDigit(wchar_t unit) { return unit >= L'0' && unit <= L'9'; }

// Saturates at the largest integer.
int64_t IntegerOf(std::wstring_view digits) {
    constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
    int64_t value = 0;
    for (const wchar_t unit : digits) {
        const int64_t digit = unit - L'0';
        if (value > (kMax - digit) / 10) {
            return kMax;
        }
        value = value * 10 + digit;
    }
    return value;
}

// Digits with one point, correctly rounded. Beyond the range it is infinity or zero.
double DoubleByLibrary(std::wstring_view digits) {
    std::string narrow;
    narrow.reserve(digits.size());
    for (const wchar_t unit : digits) {
        narrow += static_cast<char>(unit);
    }
    double value = 0;
    const auto result = std::from_chars(narrow.data(), narrow.data() + narrow.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        const bool isLarge = narrow.find_first_not_of('0') < narrow.find('.');
        return isLarge ? std::numeric_limits<double>::infinity() : 0.0;
    }
    return value;
}

// Up to 15 digits are an integer that a double holds exactly, and so is the power of ten: one division rounds
// correctly.
double DoubleOf(std::wstring_view digits, size_t point) {
    constexpr std::array<double, 16> kPowers = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    if (digits.size() > kPowers.size()) {
        return DoubleByLibrary(digits);
    }
    int64_t mantissa = 0;
    for (const wchar_t unit : digits) {
        mantissa = unit == L'.' ? mantissa : mantissa * 10 + (unit - L'0');
    }
    return static_cast<double>(mantissa) / kPowers[digits.size() - point - 1];
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

int32_t ParseJsonNumber(JsonValue& value, const wchar_t* text, int32_t length) {
    if (!text || length < 1) {
        return -1;
    }
    const int32_t sign = *text == L'+' || *text == L'-' ? 1 : 0;
    constexpr int32_t kNoPoint = -1;
    int32_t point = kNoPoint;
    int32_t offset = sign;
    for (; offset < length && (IsDigit(text[offset]) || text[offset] == L'.'); ++offset) {
        if (text[offset] != L'.') {
            continue;
        }
        if (point != kNoPoint) {
            return -1;
        }
        point = offset;
    }
    if (offset == length) {
        return -1;
    }

    const std::wstring_view digits(text + sign, static_cast<size_t>(offset - sign));
    const bool isNegative = *text == L'-';
    if (point == kNoPoint) {
        value.kind = JsonKind::Integer;
        value.integer = isNegative ? -IntegerOf(digits) : IntegerOf(digits);
    } else {
        const double number = DoubleOf(digits, static_cast<size_t>(point - sign));
        value.kind = JsonKind::Double;
        value.real = isNegative ? -number : number;
    }
    return offset;
}

int32_t ParseJsonLiteral(JsonValue& value, const wchar_t* text, int32_t length) {
    constexpr int32_t kShortest = 4;
    if (length < kShortest) {
        return -1;
    }
    const int32_t wanted = *text == L'f' || *text == L'F' ? 5 : kShortest;
    if (length < wanted) {
        return -1;
    }
    const std::wstring_view word(text, static_cast<size_t>(wanted));
    const auto is = [word](std::wstring_view literal) {
        for (size_t i = 0; i < literal.size(); ++i) {
            const wchar_t lower =
                word[i] >= L'A' && word[i] <= L'Z' ? static_cast<wchar_t>(word[i] + 32) : word[i];
            if (lower != literal[i]) {
                return false;
            }
        }
        return word.size() == literal.size();
    };
    if (is(L"true") || is(L"false")) {
        value.kind = JsonKind::Bool;
        value.boolean = is(L"true") ? 1 : 0;
        return wanted;
    }
    if (is(L"null")) {
        value.kind = JsonKind::Null;
        return wanted;
    }
    return -1;
}

} // namespace zq
