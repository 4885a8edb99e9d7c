#include "save/JsonDocument.h"

#include "config/ConfigText.h"
#include "save/DocumentEdit.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace zq {
namespace {

class JsonDocument : public testing::Test {
protected:
    int32_t Load(std::string_view bytes) {
        document.reset();
        return ParseJsonDoc(bytes, document);
    }

    // The bytes that a save of this text leaves.
    std::string Rewritten(std::string_view bytes) {
        EXPECT_EQ(0, Load(bytes));
        DocumentBuffer text;
        WriteJsonDoc(*document, text);
        return {text.GetString(), text.GetSize()};
    }

    std::unique_ptr<EditableDocument> document;
};

TEST_F(JsonDocument, WritesAtMostFourDecimalPlacesAndCutsTheRest) {
    EXPECT_EQ("[\n    1.2345\n]", Rewritten("[1.23456]"));
}

TEST_F(JsonDocument, WritesAVerySmallDoubleAsZero) { EXPECT_EQ("[\n    0.0\n]", Rewritten("[0.00001]")); }

TEST_F(JsonDocument, AFileOfThreeBytesOrNoneIsUnreadable) {
    EXPECT_EQ(1, Load("[1]"));
    EXPECT_FALSE(document);
    EXPECT_EQ(1, Load(""));
    EXPECT_FALSE(document);
    EXPECT_EQ(0, Load("[12]"));
    EXPECT_TRUE(document);
}

TEST_F(JsonDocument, AByteOrderMarkDoesNotParse) {
    EXPECT_NE(0, Load("\xEF\xBB\xBF[1]"));
    EXPECT_FALSE(document);
}

TEST_F(JsonDocument, WhatIsWrittenHasNoByteOrderMarkAndNothingAfterItsEndAndLoads) {
    const std::string bytes = Rewritten("{\"A\":[1,{\"B\":true}],\"C\":null}\r\n");

    EXPECT_EQ("{\n    \"A\": [\n        1,\n        {\n            \"B\": true\n        }\n    ],\n    "
              "\"C\": null\n}",
              bytes);
    EXPECT_TRUE(ConfigText(ConfigFile::Settings).Read(bytes));
}

TEST_F(JsonDocument, NonAsciiTextIsWrittenAsItIsAndRefusedByTheLoader) {
    const std::string bytes = Rewritten("[\"caf\xC3\xA9\"]");

    EXPECT_EQ("[\n    \"caf\xC3\xA9\"\n]", bytes);
}

TEST_F(JsonDocument, EscapesOfStrings) {
    EXPECT_EQ(R"([
    "\"\\/\b\f\n\r\t\u0001\u001F"
])",
              Rewritten(R"(["\"\\\/\b\f\n\r\t\u0001\u001f"])"));
}

TEST_F(JsonDocument, FormsOfNumbers) {
    EXPECT_EQ("[\n    -9223372036854775808,\n    18446744073709551615,\n    0,\n    -1.5,\n    100.0,\n    "
              "100000000000000000000.0\n]",
              Rewritten("[-9223372036854775808,18446744073709551615,0,-1.5,1e2,1e20]"));
}

TEST_F(JsonDocument, NumbersFromTenToThe21OnAreWrittenInPlainDigits) {
    EXPECT_EQ("[\n    1000000000000000000000.0,\n    -1234567890123456800000000.0,\n    " +
                  std::string("17976931348623157").append(292, '0') + ".0\n]",
              Rewritten("[1e21,-1.2345678901234568e24,1.7976931348623157e308]"));
}

TEST_F(JsonDocument, ALargeNumberIsReadBackByTheModuleAsTheSameDouble) {
    for (const double value :
         {1e21, 1.5e21, 123456789012345678901234567890.0, -9.87654321e300, 1.7976931348623157e308}) {
        ASSERT_EQ(0, Load("{\"A\":0.0}"));
        (*document)["A"].SetDouble(value);
        DocumentBuffer text;
        WriteJsonDoc(*document, text);

        ConfigText config(ConfigFile::Settings);
        ASSERT_TRUE(config.Read({text.GetString(), text.GetSize()}));
        const JsonValue* member = config.Root().Member(L"A");
        ASSERT_NE(nullptr, member);
        ASSERT_TRUE(member->Is(JsonKind::Double));
        EXPECT_EQ(value, member->real);
    }
}

TEST_F(JsonDocument, TextThatTheLibraryRefusesIsNotADocument) {
    for (const char* text :
         {"{\"A\":1,}", "[1 2]", "[1] 2", "[NaN]", "[1e999]", "    ", "[1]//x", "{\"A\":1}\xFF"}) {
        EXPECT_NE(0, Load(text)) << text;
        EXPECT_FALSE(document) << text;
    }
    EXPECT_EQ(rapidjson::kParseErrorDocumentRootNotSingular, Load("[1] 2"));
    EXPECT_EQ(rapidjson::kParseErrorDocumentEmpty, Load("    "));
}

TEST_F(JsonDocument, ContentAfterAZeroByteIsNotLost) {
    EXPECT_EQ(rapidjson::kParseErrorDocumentRootNotSingular, Load(std::string_view("[1,2]\0[3]", 9)));
    EXPECT_FALSE(document);
}

TEST_F(JsonDocument, AVeryDeepFileIsParsedButNotWritable) {
    constexpr size_t kDepth = 100'000;

    ASSERT_EQ(0, Load(std::string(kDepth, '[') + std::string(kDepth, ']')));

    EXPECT_FALSE(IsWritable(*document));
    EXPECT_EQ(0, Load(std::string(256, '[') + std::string(256, ']')));
    EXPECT_TRUE(IsWritable(*document));
    EXPECT_EQ(0, Load(std::string(257, '[') + std::string(257, ']')));
    EXPECT_FALSE(IsWritable(*document));
}

TEST_F(JsonDocument, EachObjectIsOneLevelOfTheDepth) {
    const auto objects = [](size_t count) {
        std::string text;
        for (size_t i = 1; i < count; ++i) {
            text += "{\"A\":";
        }
        return text + "{}" + std::string(count - 1, '}');
    };

    EXPECT_EQ(0, Load(objects(256)));
    EXPECT_TRUE(IsWritable(*document));
    EXPECT_EQ(0, Load(objects(257)));
    EXPECT_FALSE(IsWritable(*document));
}

} // namespace
} // namespace zq
