#include "config/json/JsonReader.h"

#include "support/TypedVariables.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <string_view>

namespace zq {
namespace {

using test::Printable;

constexpr int64_t kMax = std::numeric_limits<int64_t>::max();

int32_t Parse(JsonValue& value, std::wstring_view text) {
    return ParseJsonNumber(value, text.data(), static_cast<int32_t>(text.size()));
}

// What follows the number: far from the end of the text most numbers are read in another way.
const std::wstring kFollowers[] = {L",", L", more units than a number has, 1.5.5"};

void ExpectInteger(const std::wstring& text, int64_t expected) {
    SCOPED_TRACE(Printable(text));
    for (const std::wstring& follower : kFollowers) {
        JsonValue value;
        EXPECT_EQ(static_cast<int32_t>(text.size()), Parse(value, text + follower));
        ASSERT_TRUE(value.Is(JsonKind::Integer));
        EXPECT_EQ(expected, value.integer);
    }
}

void ExpectDouble(const std::wstring& text, double expected) {
    SCOPED_TRACE(Printable(text.substr(0, 60)));
    for (const std::wstring& follower : kFollowers) {
        JsonValue value;
        EXPECT_EQ(static_cast<int32_t>(text.size()), Parse(value, text + follower));
        ASSERT_TRUE(value.Is(JsonKind::Double));
        EXPECT_EQ(std::bit_cast<uint64_t>(expected), std::bit_cast<uint64_t>(value.real)) << value.real;
    }
}

TEST(JsonNumber, DigitsWithoutAPointAreAnInteger) {
    ExpectInteger(L"0", 0);
    ExpectInteger(L"00", 0);
    ExpectInteger(L"007", 7);
    ExpectInteger(L"5", 5);
    ExpectInteger(L"-5", -5);
    ExpectInteger(L"+5", 5);
    ExpectInteger(L"-0", 0);
}

TEST(JsonNumber, SignWithoutDigitsIsZero) {
    ExpectInteger(L"-", 0);
    ExpectInteger(L"+", 0);
}

TEST(JsonNumber, IntegersSaturateBeforeTheSignIsApplied) {
    ExpectInteger(L"999999999999999", 999999999999999);
    ExpectInteger(L"-1000000000000001", -1000000000000001);
    ExpectInteger(L"9223372036854775806", kMax - 1);
    ExpectInteger(L"9223372036854775807", kMax);
    ExpectInteger(L"9223372036854775808", kMax);
    ExpectInteger(L"18446744073709551617", kMax);
    ExpectInteger(L"-9223372036854775807", -kMax);
    ExpectInteger(L"-9223372036854775808", -kMax);
    ExpectInteger(L"-99999999999999999999", -kMax);
    ExpectInteger(std::wstring(400, L'0') + L"12", 12);
    ExpectInteger(std::wstring(400, L'9'), kMax);
}

TEST(JsonNumber, PointMakesADouble) {
    ExpectDouble(L"5.0", 5.0);
    ExpectDouble(L"1.", 1.0);
    ExpectDouble(L"0.1", 0.1);
    ExpectDouble(L"-2.5", -2.5);
    ExpectDouble(L"+2.5", 2.5);
    ExpectDouble(L"-.5", -0.5);
    ExpectDouble(L"-0.0", -0.0);
    ExpectDouble(L"-.", -0.0);
    ExpectDouble(L"+.", 0.0);
}

TEST(JsonNumber, DoublesAreCorrectlyRounded) {
    ExpectDouble(L"0.30000000000000004", 0.1 + 0.2);
    ExpectDouble(L"123456789012345.6", 123456789012345.6);
    ExpectDouble(L"9007199254740993.0", 9007199254740992.0);
    ExpectDouble(L"9007199254740993.00000000000000000000001", 9007199254740994.0);
    ExpectDouble(L"1.7976931348623157" + std::wstring(), 1.7976931348623157);
    ExpectDouble(L"0." + std::wstring(323, L'0') + L"5", std::numeric_limits<double>::denorm_min());
    ExpectDouble(std::wstring(400, L'0') + L"1.5", 1.5);
    ExpectDouble(L"1.5" + std::wstring(400, L'0'), 1.5);
}

TEST(JsonNumber, TooLargeIsInfinityAndTooSmallIsZero) {
    ExpectDouble(std::wstring(400, L'9') + L".0", std::numeric_limits<double>::infinity());
    ExpectDouble(L"-" + std::wstring(400, L'9') + L".", -std::numeric_limits<double>::infinity());
    ExpectDouble(L"0." + std::wstring(400, L'0') + L"1", 0.0);
    ExpectDouble(L"-0." + std::wstring(400, L'0') + L"1", -0.0);
    ExpectDouble(std::wstring(400, L'0') + L"." + std::wstring(400, L'0') + L"7", 0.0);
}

TEST(JsonNumber, AgreesWithTheLibraryOnRandomDecimals) {
    std::mt19937_64 random(20);
    for (int i = 0; i < 20000; ++i) {
        std::string digits(1 + random() % 24, '0');
        for (char& digit : digits) {
            digit = static_cast<char>('0' + random() % 10);
        }
        digits.insert(random() % (digits.size() + 1), ".");
        if (digits.front() == '.') {
            digits.insert(0, "0");
        }
        ExpectDouble(std::wstring(digits.begin(), digits.end()), std::strtod(digits.c_str(), nullptr));
    }
}

TEST(JsonNumber, EndsAtTheFirstOtherUnit) {
    JsonValue value;
    for (const std::wstring_view text : {L"12e5 ", L"12E5", L"12-", L"12+3", L"12x", L"12]", L"12 "}) {
        EXPECT_EQ(2, Parse(value, text)) << Printable(text);
        EXPECT_EQ(12, value.integer);
    }
    EXPECT_EQ(1, Parse(value, L"--5,"));
    EXPECT_EQ(0, value.integer);
    EXPECT_EQ(2, Parse(value, {L"12\0", 3}));
    EXPECT_EQ(2, Parse(value, L"12\x0663")); // digits of other scripts are none
}

TEST(JsonNumber, SecondPointFails) {
    JsonValue value;
    for (const std::wstring text : {L"1.2.3,", L"1..2,", L"-..,", L"1.2."}) {
        for (const std::wstring& follower : kFollowers) {
            EXPECT_EQ(-1, Parse(value, text + follower)) << Printable(text);
            EXPECT_TRUE(value.Is(JsonKind::Null));
        }
    }
}

TEST(JsonNumber, RunningToTheEndOfTheTextFails) {
    JsonValue value;
    for (const std::wstring_view text : {L"5", L"-", L"1.5", L"-1.", L"+"}) {
        EXPECT_EQ(-1, Parse(value, text)) << Printable(text);
        EXPECT_TRUE(value.Is(JsonKind::Null));
    }
    EXPECT_EQ(-1, ParseJsonNumber(value, nullptr, 1));
    EXPECT_EQ(-1, ParseJsonNumber(value, L"5,", 0));
}

} // namespace
} // namespace zq
