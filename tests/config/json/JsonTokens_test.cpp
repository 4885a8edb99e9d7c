// The loops that take sixteen bytes a step against what they find unit by unit.
#include "config/json/JsonTokens.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace zq {
namespace {

// Unit by unit, as the grammar says it.
int32_t PlainEndOfString(const std::string& text) {
    const auto length = static_cast<int32_t>(text.size());
    int32_t offset = 1;
    while (offset < length && text[static_cast<size_t>(offset)] != '"') {
        offset += text[static_cast<size_t>(offset)] == '\\'
                      ? EscapeUnits(text.data() + offset, length - offset)
                      : 1;
    }
    return std::min(offset + 1, length);
}

// In memory of exactly the text's size: the sanitizers see a read past the end.
template <class Unit>
int32_t EndOfString(const std::string& text) {
    const std::vector<Unit> units(text.begin(), text.end());
    return SkipJsonString(units.data(), 0, static_cast<int32_t>(units.size()));
}

TEST(JsonTokens, SkippedStringsEndAtTheFirstQuoteThatIsNoEscape) {
    constexpr std::string_view kUnits = "aaaaaaaaaa\\\\u\"";
    std::mt19937 random(19);
    for (int i = 0; i < 50000; ++i) {
        std::string text = "\"";
        for (auto length = random() % 70; length > 0; --length) {
            text += kUnits[random() % kUnits.size()];
        }
        ASSERT_EQ(PlainEndOfString(text), EndOfString<JsonByte>(text)) << text;
        ASSERT_EQ(PlainEndOfString(text), EndOfString<char16_t>(text)) << text;
    }
}

// Longer than two steps, so that a unit can be before, inside and after each of them.
constexpr int32_t kUnits = 40;

template <class Unit>
class JsonTokensByUnit : public testing::Test {
protected:
    using Text = std::basic_string<Unit>;

    static JsonNumberEnd NumberEnd(const Text& text, int32_t offset = 0) {
        return FindNumberEnd(text.data(), offset, static_cast<int32_t>(text.size()));
    }
    static Text Digits() { return Text(kUnits, '7'); }
};

using Units = testing::Types<unsigned char, char16_t, wchar_t>;
TYPED_TEST_SUITE(JsonTokensByUnit, Units, );

TYPED_TEST(JsonTokensByUnit, APointIsFoundWhereverItIs) {
    for (int32_t point = 0; point < kUnits; ++point) {
        auto text = this->Digits();
        text[static_cast<size_t>(point)] = '.';
        EXPECT_EQ(kUnits, this->NumberEnd(text).end) << point;
        EXPECT_EQ(point, this->NumberEnd(text).point);
    }
    EXPECT_EQ(-1, this->NumberEnd(this->Digits()).point);
}

TYPED_TEST(JsonTokensByUnit, TwoPointsEndNoNumberWhereverTheyAre) {
    for (int32_t first = 0; first < kUnits; ++first) {
        for (int32_t second = first + 1; second < kUnits; ++second) {
            auto text = this->Digits();
            text[static_cast<size_t>(first)] = '.';
            text[static_cast<size_t>(second)] = '.';
            EXPECT_EQ(-1, this->NumberEnd(text).end) << first << ' ' << second;
        }
    }
}

TYPED_TEST(JsonTokensByUnit, ANumberEndsAtTheFirstOtherUnitAndWhatFollowsIsNotItsPoint) {
    for (const char other : {'/', ':', ',', '-', ' ', '\0', '\x7F'}) {
        for (int32_t end = 0; end < kUnits - 1; ++end) {
            auto text = this->Digits();
            text[static_cast<size_t>(end)] = static_cast<TypeParam>(other);
            text[static_cast<size_t>(end) + 1] = '.';
            EXPECT_EQ(end, this->NumberEnd(text).end) << other;
            EXPECT_EQ(-1, this->NumberEnd(text).point) << other << ' ' << end;
        }
    }
}

TYPED_TEST(JsonTokensByUnit, WhiteSpaceIsTheUnitsFromOneTo32) {
    for (int unit = 0; unit < 0x100; ++unit) {
        for (int32_t offset = 0; offset < kUnits; ++offset) {
            auto text = std::basic_string<TypeParam>(kUnits, ' ');
            text[static_cast<size_t>(offset)] = static_cast<TypeParam>(unit);
            const bool isSpace = unit >= 1 && unit <= 32;
            EXPECT_EQ(isSpace ? kUnits : offset, SkipJsonSpace(text.data(), 0, kUnits)) << unit;
        }
    }
}

TYPED_TEST(JsonTokensByUnit, OnlyAQuoteOrBackslashEndsAPlainPiece) {
    for (int unit = 0; unit < 0x100; ++unit) {
        for (int32_t offset = 0; offset < kUnits; ++offset) {
            auto text = std::basic_string<TypeParam>(kUnits, 'x');
            text[static_cast<size_t>(offset)] = static_cast<TypeParam>(unit);
            const bool isEnd = unit == '"' || unit == '\\';
            EXPECT_EQ(isEnd ? offset : kUnits, FindQuoteOrBackslash(text.data(), 0, kUnits)) << unit;
        }
    }
}

} // namespace
} // namespace zq
