#include "check/WordRepair.h"

#include "base/AsciiCase.h"
#include "check/NearestName.h"
#include "check/Quote.h"
#include "config/json/JsonScalar.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace zq {

namespace {

std::wstring Lower(std::wstring_view word) {
    std::wstring lower(word);
    std::transform(lower.begin(), lower.end(), lower.begin(), AsciiLower);
    return lower;
}

// A number as the module reads it, at the front of a word: units of it, with at most one point.
size_t PlainNumberUnits(std::wstring_view word) {
    size_t units = !word.empty() && (word[0] == L'+' || word[0] == L'-') ? 1 : 0;
    bool hasPoint = false;
    bool hasDigit = false;
    for (; units < word.size() && (IsAsciiDigit(word[units]) || (word[units] == L'.' && !hasPoint));
         ++units) {
        hasPoint |= word[units] == L'.';
        hasDigit |= IsAsciiDigit(word[units]);
    }
    return hasDigit ? units : 0;
}

bool IsLiteral(std::wstring_view lower) { return lower == L"true" || lower == L"false" || lower == L"null"; }

// A number must begin with a sign or digit.
bool IsRead(std::wstring_view word) {
    const bool isNumber = word[0] != L'.' && PlainNumberUnits(word) == word.size();
    const bool isLoneSign = word == L"+" || word == L"-";
    return isNumber || isLoneSign || IsLiteral(Lower(word));
}

WordRepair Replaced(const char* code, std::wstring_view word, const std::string& what, std::wstring value) {
    WordRepair repair;
    repair.code = code;
    repair.text = Quoted(word) + ' ' + what;
    repair.fix = "write " + Utf8(value);
    repair.value = std::move(value);
    return repair;
}

WordRepair Uncertain(const char* code, std::string text, std::string fix) {
    WordRepair repair;
    repair.code = code;
    repair.text = std::move(text);
    repair.fix = std::move(fix);
    repair.value = L"null";
    repair.isCertain = false;
    return repair;
}

struct OtherLiteral {
    std::wstring_view word;
    std::wstring_view value;
};
constexpr std::array<OtherLiteral, 7> kOtherLiterals = {{{L"yes", L"true"},
                                                         {L"on", L"true"},
                                                         {L"no", L"false"},
                                                         {L"off", L"false"},
                                                         {L"none", L"null"},
                                                         {L"nil", L"null"},
                                                         {L"undefined", L"null"}}};

// Digits with the point moved by an exponent.
std::wstring WithoutExponent(std::wstring_view mantissa, int exponent) {
    std::wstring digits;
    auto point = static_cast<int>(std::min(mantissa.find(L'.'), mantissa.size()));
    std::copy_if(mantissa.begin(), mantissa.end(), std::back_inserter(digits), IsAsciiDigit);
    const bool hasPoint = mantissa.find(L'.') != std::wstring_view::npos;
    point += exponent;
    if (point <= 0) {
        digits.insert(0, static_cast<size_t>(1 - point), L'0');
        point = 1;
    }
    const auto units = static_cast<int>(digits.size());
    if (point > units) {
        digits.append(static_cast<size_t>(point - units), L'0');
    }
    std::wstring fraction = digits.substr(static_cast<size_t>(point));
    while (!fraction.empty() && fraction.back() == L'0') {
        fraction.pop_back();
    }
    std::wstring whole = digits.substr(0, static_cast<size_t>(point));
    whole.erase(0, std::min(whole.find_first_not_of(L'0'), whole.size() - 1));
    if (fraction.empty() && !hasPoint && exponent >= 0) {
        return whole;
    }
    return whole + L'.' + (fraction.empty() ? L"0" : fraction);
}

WordRepair RepairExponent(std::wstring_view word) {
    constexpr int kLargestExponent = 400; // beyond every double
    const size_t e = word.find_first_of(L"eE");
    if (e == std::wstring_view::npos || e == 0 || PlainNumberUnits(word.substr(0, e)) != e) {
        return {};
    }
    std::wstring_view digits = word.substr(e + 1);
    const bool isNegative = digits.starts_with(L'-');
    digits.remove_prefix(isNegative || digits.starts_with(L'+') ? 1 : 0);
    if (digits.empty() || digits.size() > 3 || !std::all_of(digits.begin(), digits.end(), IsAsciiDigit)) {
        return {};
    }
    int exponent = 0;
    for (const wchar_t digit : digits) {
        exponent = exponent * 10 + (digit - L'0');
    }
    if (exponent > kLargestExponent) {
        return {};
    }
    const bool isMinus = word[0] == L'-';
    const std::wstring_view mantissa =
        word.substr(isMinus || word[0] == L'+' ? 1 : 0, e - (isMinus || word[0] == L'+' ? 1 : 0));
    return Replaced("exponent", word, "has an exponent, which the module does not read",
                    (isMinus ? L"-" : L"") + WithoutExponent(mantissa, isNegative ? -exponent : exponent));
}

WordRepair RepairHex(std::wstring_view word) {
    constexpr size_t kMostDigits = 15;
    const bool isMinus = word[0] == L'-';
    std::wstring_view digits = word.substr(isMinus ? 1 : 0);
    if (!digits.starts_with(L"0x") && !digits.starts_with(L"0X")) {
        return {};
    }
    digits.remove_prefix(2);
    const auto isHex = [](wchar_t unit) { return HexDigit(unit) >= 0; };
    if (digits.empty() || digits.size() > kMostDigits || !std::all_of(digits.begin(), digits.end(), isHex)) {
        return {};
    }
    int64_t value = 0;
    for (const wchar_t digit : digits) {
        value = value * 16 + HexDigit(digit);
    }
    return Replaced("hexadecimal", word, "is a hexadecimal number, which the module does not read",
                    (isMinus ? L"-" : L"") + std::to_wstring(value));
}

// "70Mbps", "50%".
WordRepair RepairUnit(std::wstring_view word) {
    const size_t units = PlainNumberUnits(word);
    const std::wstring_view rest = word.substr(units);
    const auto isUnit = [](wchar_t unit) { return IsAsciiLetter(unit) || unit == L'%' || unit == L'/'; };
    if (units == 0 || rest.empty() || !std::all_of(rest.begin(), rest.end(), isUnit)) {
        return {};
    }
    return Replaced("unit", word, "has a unit after the number", std::wstring(word.substr(0, units)));
}

WordRepair RepairSeparators(std::wstring_view word) {
    const size_t separator = word.find_first_of(L"_'");
    std::wstring digits(word);
    std::erase_if(digits, [](wchar_t unit) { return unit == L'_' || unit == L'\''; });
    if (separator == std::wstring_view::npos || separator == 0 || !IsAsciiDigit(word[0]) ||
        PlainNumberUnits(digits) != digits.size()) {
        return {};
    }
    return Replaced("separators", word, "has separators between its digits", digits);
}

bool IsMistypedLiteral(std::wstring_view word, std::wstring& meant) {
    for (const std::wstring_view literal : {L"true", L"false", L"null"}) {
        if (IsMistyped(word, literal)) {
            meant = literal;
            return true;
        }
    }
    return false;
}

bool IsPlainText(std::wstring_view word) {
    return std::all_of(word.begin(), word.end(), [](wchar_t unit) {
        return IsAsciiLetter(unit) || IsAsciiDigit(unit) || unit == L'_' || unit == L'-' || unit == L'.' ||
               unit == L'+';
    });
}

} // namespace

bool IsNumberWord(std::wstring_view word) { return PlainNumberUnits(word) > 0; }

WordRepair RepairWord(std::wstring_view word) {
    if (IsRead(word)) {
        return {};
    }
    const std::wstring lower = Lower(word);
    for (const OtherLiteral& literal : kOtherLiterals) {
        if (lower == literal.word) {
            return Replaced("wrong-literal", word, "is not a value", std::wstring(literal.value));
        }
    }
    for (const auto repair : {RepairExponent, RepairHex, RepairUnit, RepairSeparators}) {
        if (WordRepair found = repair(word); found.code) {
            return found;
        }
    }
    if (word[0] == L'.' && PlainNumberUnits(word) == word.size()) {
        return Replaced("no-leading-digit", word, "needs a digit before its point",
                        L"0" + std::wstring(word));
    }
    if (std::wstring meant; IsMistypedLiteral(word, meant)) {
        return Uncertain("wrong-literal", Quoted(word) + " is not a value",
                         "did you mean " + Utf8(meant) + "?");
    }
    if (lower == L"nan" || lower.ends_with(L"infinity") || lower.ends_with(L"inf")) {
        return Uncertain("no-value", Quoted(word) + " is not a number that can be written",
                         "write another number");
    }
    if (IsPlainText(word)) {
        const bool isNumber = word.find_first_not_of(L"+-.0123456789") == std::wstring_view::npos;
        WordRepair repair = Replaced(isNumber ? "second-point" : "no-quotes", word,
                                     isNumber ? "is not a number: it has a second point" : "needs quotes",
                                     L'"' + std::wstring(word) + L'"');
        repair.isCertain = !isNumber || std::count(word.begin(), word.end(), L'.') == 3;
        repair.fix = isNumber ? "write one point, or put it in quotes" : "put it in quotes";
        return repair;
    }
    return Uncertain("no-value", Quoted(word) + " is not a value",
                     "write a number, true, false or a text in quotes");
}

} // namespace zq
