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

} // namespace
} // namespace zq
