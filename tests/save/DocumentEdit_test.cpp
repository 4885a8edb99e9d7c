#include "save/DocumentEdit.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zq {
namespace {

using Document = EditableDocument;

Document Parse(const std::string& text) {
    Document document;
    document.Parse(text.data(), text.size());
    EXPECT_FALSE(document.HasParseError()) << text;
    return document;
}

std::string Text(const Document& document) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    document.Accept(writer);
    return buffer.GetString();
}

const ValueSetter kSetSeven = [](EditableValue& value) { value.SetInt(7); };

struct DeviceEdit {
    std::string text;
    std::string name;
    std::optional<int64_t> index;
};

void ExpectDevice(const DeviceEdit& edit, SaveResult expected, const std::string& after) {
    Document document = Parse(edit.text);
    EXPECT_EQ(expected, EditDeviceMember(document, edit.name, edit.index, kSetSeven))
        << edit.text << ' ' << edit.name;
    EXPECT_EQ(after, Text(document));
}

TEST(DocumentEdit, ChangesTheEntryThatTheIndexGivesNotTheOneThatTheNameSays) {
    ExpectDevice({R"({"CL":[{"K":1},{"K":2},{"K":3},{"K":4}]})", "CL.3.K", 1}, SaveResult::Saved,
                 R"({"CL":[{"K":1},{"K":7},{"K":3},{"K":4}]})");
}

TEST(DocumentEdit, AKeyAbsentInTheEntryIsNotLookedForAtTheRoot) {
    const std::string text = R"({"CL.0.K":1,"K":2,"CL":[{"Other":3}]})";

    ExpectDevice({text, "CL.0.K", 0}, SaveResult::NoSuchMember, text);
}

TEST(DocumentEdit, WithoutAHeaderListTheRootsMemberIsChanged) {
    ExpectDevice({R"({"CL.0.K":1})", "CL.0.K", std::nullopt}, SaveResult::Saved, R"({"CL.0.K":7})");
}

TEST(DocumentEdit, TheThirdComponentIsTheKeyWhateverFollows) {
    ExpectDevice({R"({"CL":[{"K":1}]})", "a.b.K.more", 0}, SaveResult::Saved, R"({"CL":[{"K":7}]})");
    ExpectDevice({R"({"CL":[{"K":1}]})", "..K", 0}, SaveResult::Saved, R"({"CL":[{"K":7}]})");
    ExpectDevice({R"({"CL":[{"":1}]})", "a.b..", 0}, SaveResult::Saved, R"({"CL":[{"":7}]})");
}

TEST(DocumentEdit, AMemberIsReplacedWhateverItsTypeWas) {
    for (const char* old : {"1", "1.5", "true", "null", "\"x\"", "[1]", "{\"B\":2}"}) {
        Document document = Parse(std::string("{\"A\":") + old + "}");
        EXPECT_EQ(SaveResult::Saved, EditRootMember(document, "A", kSetSeven));
        EXPECT_EQ("{\"A\":7}", Text(document));
    }
}

TEST(DocumentEdit, RootsAndMembersThatCannotBeUsedChangeNothing) {
    const std::string zeroName = R"({"A\u0000B":1})";
    for (const std::string& text :
         {std::string("[]"), std::string("[1]"), std::string("5"), std::string("null"), std::string("true"),
          std::string("\"A\""), std::string("1.5"), std::string("{}"), std::string(R"({"a":1})"),
          std::string(R"({"A ":1})"), std::string(R"({"B":{"A":1}})"), zeroName, std::string(R"([{"A":1}])"),
          std::string(R"({"":1})")}) {
        Document document = Parse(text);
        EXPECT_EQ(SaveResult::NoSuchMember, EditRootMember(document, "A", kSetSeven)) << text;
        EXPECT_EQ(Text(Parse(text)), Text(document));
    }
}

TEST(DocumentEdit, EveryMemberOfTheNameGetsTheValue) {
    Document document = Parse(R"({"A":1,"B":2,"A":"x","A":null})");

    EXPECT_EQ(SaveResult::Saved, EditRootMember(document, "A", kSetSeven));

    EXPECT_EQ(R"({"A":7,"B":2,"A":7,"A":7})", Text(document));
}

TEST(DocumentEdit, ThePathTakesTheLastMemberOfANameAsTheReaderDoes) {
    ExpectDevice({R"({"CL":[{"K":1}],"CL":[{"K":2}]})", "CL.0.K", 0}, SaveResult::Saved,
                 R"({"CL":[{"K":1}],"CL":[{"K":7}]})");
}

TEST(DocumentEdit, DevicesThatCannotBeUsedChangeNothing) {
    const std::vector<DeviceEdit> edits = {
        {R"({"CL":[{"K":1}]})", "CL.0.K", std::nullopt},
        {R"({"CL":[{"K":1}]})", "CL.0.K", -1},
        {R"({"CL":[{"K":1}]})", "CL.0.K", 1},
        {R"({"CL":[{"K":1}]})", "CL.0.K", INT64_MAX},
        {R"({"CL":[{"K":1}]})", "CL.0.K", INT64_MIN},
        {R"({"CL":[{"K":1}]})", "CL.0.K", int64_t{1} << 32},
        {R"({"CL":[]})", "CL.0.K", 0},
        {R"({"CL":{}})", "CL.0.K", 0},
        {R"({"CL":{"0":{"K":1}}})", "CL.0.K", 0},
        {R"({"CL":5,"CL.0.K":1})", "CL.0.K", 0},
        {R"({"CL":null,"CL.0.K":1})", "CL.0.K", 0},
        {R"({"CL":"x","CL.0.K":1})", "CL.0.K", 0},
        {R"({"CL":true})", "CL.0.K", 0},
        {R"({"CL":[{"K":1}],"CL":5})", "CL.0.K", 0},
    };
    for (const DeviceEdit& edit : edits) {
        ExpectDevice(edit, SaveResult::NoSuchDevice, Text(Parse(edit.text)));
    }
}

TEST(DocumentEdit, NamesAndEntriesThatCannotBeUsedChangeNothing) {
    const std::vector<DeviceEdit> edits = {
        {R"({"CL":[{"K":1}]})", "K", 0},      {R"({"CL":[{"K":1}]})", "CL.K", 0},
        {R"({"CL":[{"K":1}]})", "", 0},       {R"({"CL":[{"K":1}]})", ".", 0},
        {R"({"CL":[{"":1}]})", "..", 0},      {R"({"CL":[{"":1}]})", "CL.0.", 0},
        {R"({"CL":[{"K":1}]})", "CL.0.k", 0}, {R"({"CL":[{"K":1}]})", "CL.0..K", 0},
        {R"({"CL":[5]})", "CL.0.K", 0},       {R"({"CL":[null]})", "CL.0.K", 0},
        {R"({"CL":["K"]})", "CL.0.K", 0},     {R"({"CL":[[{"K":1}]]})", "CL.0.K", 0},
        {R"({"CL":[{}]})", "CL.0.K", 0},      {R"({"CL":[{"K\u0000":1}]})", "CL.0.K", 0},
    };
    for (const DeviceEdit& edit : edits) {
        ExpectDevice(edit, SaveResult::NoSuchMember, Text(Parse(edit.text)));
    }
}

struct HmdEdit {
    std::string text;
    HmdRequest request;
    std::vector<int64_t> values;
};

constexpr HmdRequest kAny = {-1, -1, -1};

void ExpectHmd(const HmdEdit& edit, SaveResult expected, const std::string& after) {
    Document document = Parse(edit.text);
    EXPECT_EQ(expected, EditHmdList(document, "D", edit.request, edit.values)) << edit.text;
    EXPECT_EQ(after, Text(document));
}

std::string Device(const std::string& responses) {
    return R"([{"DeviceName":"D","Response":)" + responses + "}]";
}

TEST(DocumentEdit, WithAllNumbersNegativeTheFirstResponseIsChanged) {
    ExpectHmd({Device(R"([{"MainRequest":4,"Value":[1,2]},{"MainRequest":5,"Value":[3]}])"), kAny, {8}},
              SaveResult::Saved,
              Device(R"([{"MainRequest":4,"Value":[8,2]},{"MainRequest":5,"Value":[3]}])"));
}

TEST(DocumentEdit, TheFirstResponseThatMatchesAllNumbersIsChanged) {
    const std::string other = R"({"MainRequest":1,"SubRequest":2,"index":9,"Value":[1]})";
    const std::string wanted = R"({"MainRequest":1,"SubRequest":2,"index":3,"Value":[1]})";
    const std::string changed = R"({"MainRequest":1,"SubRequest":2,"index":3,"Value":[-5]})";

    ExpectHmd({Device("[" + other + "," + wanted + "," + wanted + "]"), {1, 2, 3}, {-5}}, SaveResult::Saved,
              Device("[" + other + "," + changed + "," + wanted + "]"));
}

TEST(DocumentEdit, WithoutValuesTheMatchingResponseIsSavedAsItIs) {
    const std::string text = Device(R"([{"Value":5}])");

    ExpectHmd({text, kAny, {}}, SaveResult::Saved, text);
}

TEST(DocumentEdit, TheFirstDeviceOfTheNameCounts) {
    const std::string tail = R"(,"Response":[{"Value":[1]}]})";

    ExpectHmd(
        {R"([5,{"DeviceName":7},{"DeviceName":"E")" + tail + R"(,{"DeviceName":"D")" + tail + "]", kAny, {2}},
        SaveResult::Saved,
        R"([5,{"DeviceName":7},{"DeviceName":"E")" + tail +
            R"(,{"DeviceName":"D","Response":[{"Value":[2]}]}])");
}

TEST(DocumentEdit, HeadsetListsThatCannotBeUsedChangeNothing) {
    const std::vector<std::pair<std::string, SaveResult>> documents = {
        {"[]", SaveResult::FileUnreadable},
        {"{}", SaveResult::FileUnreadable},
        {R"({"DeviceName":"D"})", SaveResult::FileUnreadable},
        {"5", SaveResult::FileUnreadable},
        {"null", SaveResult::FileUnreadable},
        {"\"D\"", SaveResult::FileUnreadable},
        {"[5]", SaveResult::NoSuchDevice},
        {"[[]]", SaveResult::NoSuchDevice},
        {"[{}]", SaveResult::NoSuchDevice},
        {R"([{"DeviceName":5}])", SaveResult::NoSuchDevice},
        {R"([{"DeviceName":"d"}])", SaveResult::NoSuchDevice},
        {R"([{"DeviceName":"D\u0000"}])", SaveResult::NoSuchDevice},
        {R"([{"DeviceName":"D","DeviceName":"E"}])", SaveResult::NoSuchDevice},
        {R"([{"DeviceName":"E","DeviceName":"D"}])", SaveResult::NoSuchRequest},
        {R"([{"DeviceName":"D"}])", SaveResult::NoSuchRequest},
        {Device("5"), SaveResult::NoSuchRequest},
        {Device("{}"), SaveResult::NoSuchRequest},
        {Device("null"), SaveResult::NoSuchRequest},
        {Device("[]"), SaveResult::NoSuchRequest},
        {Device("[5]"), SaveResult::NoSuchRequest},
        {Device("[{}]"), SaveResult::NoSuchRequest},
        {Device(R"([{"MainRequest":"1","SubRequest":2,"index":3,"Value":[1]}])"), SaveResult::NoSuchRequest},
        {Device(R"([{"MainRequest":1.0,"SubRequest":2,"index":3,"Value":[1]}])"), SaveResult::NoSuchRequest},
        {Device(R"([{"MainRequest":1,"MainRequest":9,"SubRequest":2,"index":3,"Value":[1]}])"),
         SaveResult::NoSuchRequest},
        {Device(R"([{"MainRequest":4294967297,"SubRequest":2,"index":3,"Value":[1]}])"),
         SaveResult::NoSuchRequest},
        {Device(R"([{"MainRequest":1,"SubRequest":2,"index":3}])"), SaveResult::TooFewValues},
        {Device(R"([{"MainRequest":1,"SubRequest":2,"index":3,"Value":[]}])"), SaveResult::TooFewValues},
        {Device(R"([{"MainRequest":1,"SubRequest":2,"index":3,"Value":5}])"), SaveResult::TooFewValues},
        {Device(R"([{"MainRequest":1,"SubRequest":2,"index":3,"Value":{"0":1}}])"), SaveResult::TooFewValues},
        {Device(R"([{"MainRequest":1,"SubRequest":2,"index":3,"Value":[1],"Value":2}])"),
         SaveResult::TooFewValues},
    };
    for (const auto& [text, result] : documents) {
        ExpectHmd({text, {1, 2, 3}, {8}}, result, Text(Parse(text)));
    }
    ExpectHmd({Device(R"([{"Value":[1]}])"), kAny, {8, 9}}, SaveResult::TooFewValues,
              Device(R"([{"Value":[1]}])"));
}

} // namespace
} // namespace zq
