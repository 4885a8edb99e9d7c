#include "config/json/JsonScalar.h"

#include "base/Widen.h"
#include "config/json/JsonTokens.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <limits>
#include <string>
#include <system_error>

namespace zq {

namespace {

// The value of the longest run of digits at the front of the four units, or `previous` where there is none.
template <class Unit>
int32_t HexEscape(const Unit* digits, int32_t previous) {
    int32_t value = HexDigit(static_cast<wchar_t>(digits[0]));
    if (value < 0) {
        return previous;
    }
    for (int i = 1; i < 4; ++i) {
        const int32_t digit = HexDigit(static_cast<wchar_t>(digits[i]));
        if (digit < 0) {
            break;
        }
        value = value * 16 + digit;
    }
    return value;
}

wchar_t* Widen(wchar_t* out, const wchar_t* text, int32_t count, const wchar_t*) {
    return std::copy_n(text, count, out);
}

wchar_t* Widen(wchar_t* out, const JsonByte* text, int32_t count, const wchar_t* table) {
    WidenBytes(out, text, static_cast<size_t>(count), table);
    return out + count;
}

// The inside of a string. `out` has room for all its units: no escape grows.
template <class Unit>
class EscapedString {
public:
    EscapedString(const Unit* text, int32_t length, const wchar_t* table, wchar_t* out)
        : m_text(text), m_length(length), m_table(table), m_out(out) {}

    // Reads from `offset` up to the closing quote or the end; returns the offset after it.
    int32_t Read(int32_t offset) {
        while (offset < m_length && m_text[offset] != '"') {
            offset = m_text[offset] == '\\' ? ReadEscape(offset)
                                            : Copy(offset, FindQuoteOrBackslash(m_text, offset, m_length));
        }
        return offset < m_length ? offset + 1 : offset;
    }

    const wchar_t* End() const { return m_out; }

private:
    int32_t Copy(int32_t from, int32_t to) {
        m_out = Widen(m_out, m_text + from, to - from, m_table);
        return to;
    }

    int32_t ReadEscape(int32_t offset) {
        const int32_t left = m_length - offset;
        if (left == 1) {
            return Copy(offset, m_length);
        }
        if (m_text[offset + 1] != 'u') {
            *m_out++ = SimpleEscape(static_cast<wchar_t>(m_text[offset + 1]));
            return offset + 2;
        }
        if (left < kHexEscapeUnits) {
            return Copy(offset, m_length);
        }
        m_lastHex = HexEscape(m_text + offset + 2, m_lastHex);
        *m_out++ = static_cast<wchar_t>(m_lastHex);
        return offset + kHexEscapeUnits;
    }

    const Unit* m_text;
    int32_t m_length;
    const wchar_t* m_table;
    wchar_t* m_out;
    int32_t m_lastHex = 0;
};

// Copies the string at the front of `text`, whose units up to `plain` have no escape, into the arena.
template <class Unit>
int32_t CopyString(std::wstring_view& result, Arena& arena, const Unit* text, int32_t length, int32_t plain,
                   const wchar_t* table) {
    const int32_t end = FindClosingQuote(text, plain, length);
    auto* copy = arena.Allocate<wchar_t>(static_cast<size_t>(end - 1));
    EscapedString<Unit> string(text, length, table, copy);
    const int32_t count = string.Read(1);
    result = std::wstring_view(copy, static_cast<size_t>(string.End() - copy));
    return count;
}

// Whether a quote follows at all: one that is the opening quote counts.
template <class Unit>
bool HasQuote(const Unit* text, int32_t length) {
    return std::find(text, text + length, '"') != text + length;
}

// Saturates at the largest integer.
template <class Unit>
int64_t IntegerOf(const Unit* digits, const Unit* end) {
    constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
    constexpr std::ptrdiff_t kDigitsThatFit = std::numeric_limits<int64_t>::digits10;
    int64_t value = 0;
    if (end - digits <= kDigitsThatFit) {
        for (; digits != end; ++digits) {
            value = value * 10 + (*digits - '0');
        }
        return value;
    }
    for (; digits != end; ++digits) {
        const int64_t digit = *digits - '0';
        if (value > (kMax - digit) / 10) {
            return kMax;
        }
        value = value * 10 + digit;
    }
    return value;
}

// Digits with one point, correctly rounded. Beyond the range it is infinity or zero.
template <class Unit>
double DoubleOf(const Unit* digits, const Unit* end) {
    std::string narrow;
    narrow.reserve(static_cast<size_t>(end - digits));
    std::transform(digits, end, std::back_inserter(narrow),
                   [](Unit unit) { return static_cast<char>(unit); });
    double value = 0;
    const auto result = std::from_chars(narrow.data(), narrow.data() + narrow.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        const bool isLarge = narrow.find_first_not_of('0') < narrow.find('.');
        return isLarge ? std::numeric_limits<double>::infinity() : 0.0;
    }
    return value;
}

constexpr std::array<double, 16> kPowersOfTen = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// Most numbers: up to 15 digits, with or without a point, in one pass. They are an integer that a double
// holds exactly, and so is the power of ten: one division rounds correctly. 0 for any other.
template <class Unit>
int32_t ParseShortNumber(JsonValue& value, const Unit* text, int32_t length) {
    constexpr int32_t kMost = 15;
    constexpr int32_t kSignPointAndNext = 3;
    if (length < kMost + kSignPointAndNext) {
        return 0;
    }
    const bool isNegative = *text == '-';
    const Unit* const digits = text + (isNegative || *text == '+' ? 1 : 0);
    int64_t mantissa = 0;
    const Unit* next = digits;
    const auto readDigits = [&](const Unit* end) {
        for (; next != end && IsJsonDigit(*next); ++next) {
            mantissa = mantissa * 10 + (*next - '0');
        }
    };
    readDigits(digits + kMost);
    const bool hasPoint = *next == '.';
    const Unit* const fraction = next + 1;
    if (hasPoint) {
        ++next;
        readDigits(digits + kMost + 1);
    }
    if (IsJsonDigit(*next) || *next == '.') {
        return 0;
    }
    if (hasPoint) {
        const double real =
            static_cast<double>(mantissa) / kPowersOfTen[static_cast<size_t>(next - fraction)];
        value.kind = JsonKind::Double;
        value.real = isNegative ? -real : real;
    } else {
        value.kind = JsonKind::Integer;
        value.integer = isNegative ? -mantissa : mantissa;
    }
    return static_cast<int32_t>(next - text);
}

template <class Unit>
int32_t ParseNumber(JsonValue& value, const Unit* text, int32_t length) {
    if (!text || length < 1) {
        return -1;
    }
    if (const int32_t units = ParseShortNumber(value, text, length)) {
        return units;
    }
    const bool isNegative = *text == '-';
    const int32_t sign = isNegative || *text == '+' ? 1 : 0;
    const JsonNumberEnd number = FindNumberEnd(text, sign, length);
    if (number.end < 0 || number.end == length) {
        return -1;
    }
    const Unit* const digits = text + sign;
    const Unit* const end = text + number.end;
    if (number.point < 0) {
        const int64_t integer = IntegerOf(digits, end);
        value.kind = JsonKind::Integer;
        value.integer = isNegative ? -integer : integer;
    } else {
        const double real = DoubleOf(digits, end);
        value.kind = JsonKind::Double;
        value.real = isNegative ? -real : real;
    }
    return number.end;
}

template <class Unit>
int32_t ParseLiteral(JsonValue& value, const Unit* text, int32_t length) {
    const int32_t units = length < 1 ? -1 : JsonLiteralUnits(text, 0, length);
    if (units > 0) {
        const bool isNull = text[0] == 'n' || text[0] == 'N';
        const bool isTrue = text[0] == 't' || text[0] == 'T';
        value.kind = isNull ? JsonKind::Null : JsonKind::Bool;
        if (!isNull) {
            value.boolean = isTrue ? 1 : 0;
        }
    }
    return units;
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
    if (!HasQuote(text, length)) {
        return -1;
    }
    if (plain >= length) {
        result = std::wstring_view(text + 1, static_cast<size_t>(length - 1));
        return length;
    }
    return CopyString(result, arena, text, length, plain, nullptr);
}

int32_t ParseJsonString(std::wstring_view& result, Arena& arena, const JsonBytes& bytes) {
    if (!bytes.text || bytes.length < 1) {
        return -1;
    }
    const int32_t plain = FindQuoteOrBackslash(bytes.text, 1, bytes.length);
    if (plain < bytes.length && bytes.text[plain] == '"') {
        result = WidenIntoArena(arena, bytes.text + 1, static_cast<size_t>(plain - 1),
                                static_cast<size_t>(bytes.length - 1), bytes.table);
        return plain + 1;
    }
    return HasQuote(bytes.text, bytes.length)
               ? CopyString(result, arena, bytes.text, bytes.length, plain, bytes.table)
               : -1;
}

int32_t ParseJsonNumber(JsonValue& value, const wchar_t* text, int32_t length) {
    return ParseNumber(value, text, length);
}

int32_t ParseJsonNumber(JsonValue& value, const JsonBytes& bytes) {
    return ParseNumber(value, bytes.text, bytes.length);
}

int32_t ParseJsonLiteral(JsonValue& value, const wchar_t* text, int32_t length) {
    return ParseLiteral(value, text, length);
}

int32_t ParseJsonLiteral(JsonValue& value, const JsonBytes& bytes) {
    return ParseLiteral(value, bytes.text, bytes.length);
}

} // namespace zq
