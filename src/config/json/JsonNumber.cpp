// Numbers of the JSON reader: a sign, digits and at most one point; no exponent.
#include "config/json/JsonReader.h"

#include <array>
#include <charconv>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>

namespace zq {

namespace {

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

int32_t ParseJsonNumber(JsonValue& value, const wchar_t* text, int32_t length) {
    if (!text || length < 1) {
        return -1;
    }
    const int32_t sign = *text == L'+' || *text == L'-' ? 1 : 0;
    constexpr int32_t kNoPoint = -1;
    int32_t point = kNoPoint;
    int32_t place = sign;
    for (; place < length && (IsDigit(text[place]) || text[place] == L'.'); ++place) {
        if (text[place] != L'.') {
            continue;
        }
        if (point != kNoPoint) {
            return -1;
        }
        point = place;
    }
    if (place == length) {
        return -1;
    }

    const std::wstring_view digits(text + sign, static_cast<size_t>(place - sign));
    const bool isNegative = *text == L'-';
    if (point == kNoPoint) {
        value.kind = JsonKind::Integer;
        value.integer = isNegative ? -IntegerOf(digits) : IntegerOf(digits);
    } else {
        const double number = DoubleOf(digits, static_cast<size_t>(point - sign));
        value.kind = JsonKind::Double;
        value.real = isNegative ? -number : number;
    }
    return place;
}

} // namespace zq
