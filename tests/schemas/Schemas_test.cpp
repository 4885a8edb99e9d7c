// The JSON schemas against the shipped default files, against documents that are wrong in one thing, and
// against the module: what it skips, the schema marks.
#include "save/RapidJson.h"

#include <gtest/gtest.h>

#include <rapidjson/pointer.h>
#include <rapidjson/schema.h>
#include <rapidjson/stringbuffer.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>

namespace zq {
namespace {

std::string ReadSource(const std::string& path) {
    std::ifstream in(std::string(ZQ_SOURCE_DIR) + "/" + path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Where and why a document fails, as "keyword pointer"; empty for a valid one.
std::string Verdict(const char* schemaName, const std::string& text) {
    rapidjson::Document schemaDocument;
    EXPECT_FALSE(
        schemaDocument.Parse(ReadSource(std::string("schemas/") + schemaName).c_str()).HasParseError());
    const rapidjson::SchemaDocument schema(schemaDocument);
    rapidjson::Document document;
    EXPECT_FALSE(document.Parse(text.c_str()).HasParseError()) << text;
    rapidjson::SchemaValidator validator(schema);
    if (document.Accept(validator)) {
        return {};
    }
    rapidjson::StringBuffer pointer;
    validator.GetInvalidDocumentPointer().StringifyUriFragment(pointer);
    return std::string(validator.GetInvalidSchemaKeyword()) + ' ' + pointer.GetString();
}

constexpr const char* kSettings = "ZQ2_serverSetting.schema.json";
constexpr const char* kHmdList = "ZQ2_HmdList.schema.json";
constexpr const char* kQuality = "ZQ2_QualityPreset.schema.json";

TEST(Schemas, AcceptTheShippedDefaultFiles) {
    EXPECT_EQ("", Verdict(kSettings, ReadSource("defaults/ZQ2_serverSetting.setting")));
    EXPECT_EQ("", Verdict(kHmdList, ReadSource("defaults/ZQ2_HmdList.json")));
    EXPECT_EQ("", Verdict(kQuality, ReadSource("defaults/ZQ2_QualityPreset.json")));
}

// What a schema says of a member: under "properties", or for elements and references where they lead.
const rapidjson::Value* Described(const rapidjson::Value& root, const rapidjson::Value& schema) {
    const auto reference = schema.FindMember("$ref");
    if (reference == schema.MemberEnd()) {
        return &schema;
    }
    return rapidjson::Pointer(reference->value.GetString()).Get(root);
}

// Every member of a default file is described, so that an editor offers it and shows what it means.
void ExpectDescribed(const rapidjson::Value& root, const rapidjson::Value& schema,
                     const rapidjson::Value& value, const std::string& place) {
    const rapidjson::Value& rules = *Described(root, schema);
    if (value.IsArray() && rules.HasMember("items")) {
        for (const rapidjson::Value& element : value.GetArray()) {
            ExpectDescribed(root, rules["items"], element, place + "/-");
        }
    }
    if (!value.IsObject()) {
        return;
    }
    for (const auto& member : value.GetObject()) {
        const std::string name = place + '/' + member.name.GetString();
        const auto properties = rules.FindMember("properties");
        ASSERT_NE(rules.MemberEnd(), properties) << name;
        const auto property = properties->value.FindMember(member.name);
        ASSERT_NE(properties->value.MemberEnd(), property) << name << " is not described";
        const rapidjson::Value& described = *Described(root, property->value);
        EXPECT_TRUE(property->value.HasMember("description") || described.HasMember("description")) << name;
        ExpectDescribed(root, property->value, member.value, name);
    }
}

void Parse(const std::string& path, rapidjson::Document& document) {
    ASSERT_FALSE(document.Parse(ReadSource(path).c_str()).HasParseError()) << path;
}

TEST(Schemas, DescribeEveryMemberOfTheDefaultFiles) {
    rapidjson::Document schema;
    rapidjson::Document defaults;
    Parse(std::string("schemas/") + kSettings, schema);
    Parse("defaults/ZQ2_serverSetting.setting", defaults);
    ExpectDescribed(schema, schema, defaults, "settings");

    Parse(std::string("schemas/") + kHmdList, schema);
    Parse("defaults/ZQ2_HmdList.json", defaults);
    ExpectDescribed(schema, schema, defaults, "headsets");

    // The members of its root are named by headsets.
    Parse(std::string("schemas/") + kQuality, schema);
    Parse("defaults/ZQ2_QualityPreset.json", defaults);
    for (const auto& headset : defaults.GetObject()) {
        ExpectDescribed(schema, schema["definitions"]["presets"], headset.value, headset.name.GetString());
    }
}

// The defaults that a schema gives are those of the default file.
void ExpectDefaults(const rapidjson::Value& rules, const rapidjson::Value& values, const std::string& place) {
    for (const auto& member : values.GetObject()) {
        const std::string name = place + '/' + member.name.GetString();
        const auto property = rules["properties"].FindMember(member.name);
        if (property == rules["properties"].MemberEnd() || member.value.IsArray()) {
            continue;
        }
        if (member.value.IsObject()) {
            ExpectDefaults(property->value, member.value, name);
            continue;
        }
        ASSERT_TRUE(property->value.HasMember("default")) << name;
        EXPECT_EQ(member.value, property->value["default"]) << name;
    }
}

TEST(Schemas, GiveTheDefaultsOfTheDefaultFiles) {
    rapidjson::Document schema;
    rapidjson::Document defaults;
    Parse(std::string("schemas/") + kSettings, schema);
    Parse("defaults/ZQ2_serverSetting.setting", defaults);
    ExpectDefaults(schema, defaults, "settings");

    Parse(std::string("schemas/") + kQuality, schema);
    Parse("defaults/ZQ2_QualityPreset.json", defaults);
    ExpectDefaults(schema, defaults, "presets");
}

TEST(Schemas, AcceptNewMembersThatAreValid) {
    EXPECT_EQ(
        "", Verdict(kSettings, R"({"Mine":{"Own":{"Thing":1.5}},"Settings":{"New":"x"},"cl":[{"HD":"A"}]})"));
    EXPECT_EQ("", Verdict(kHmdList, "[]"));
    EXPECT_EQ("", Verdict(kHmdList,
                          R"([{"DeviceName":"A","Response":[{"MainRequest":-1,"SubRequest":0,"index":0,)"
                          R"("Value":[true,"x",1.5]}]}])"));
    EXPECT_EQ("", Verdict(kQuality, R"({"A":[{"Mine":true,"L":[{"z":2}]}],"Version":2})"));
}

struct WrongDocument {
    const char* schema;
    const char* text;
    const char* verdict;
};

void PrintTo(const WrongDocument& wrong, std::ostream* out) { *out << wrong.text; }

class WrongDocuments : public testing::TestWithParam<WrongDocument> {};

TEST_P(WrongDocuments, AreMarkedAtTheirPlace) {
    EXPECT_EQ(GetParam().verdict, Verdict(GetParam().schema, GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Settings, WrongDocuments,
    testing::Values(
        WrongDocument{kSettings, R"([])", "type #"},
        WrongDocument{kSettings, R"({"Dashboard":{"Opacity":1.5}})", "maximum #/Dashboard/Opacity"},
        WrongDocument{kSettings, R"({"DHI":"0"})", "type #/DHI"},
        WrongDocument{kSettings, R"({"DHI":0.5})", "type #/DHI"},
        WrongDocument{kSettings, R"({"DHI":-1})", "minimum #/DHI"},
        WrongDocument{kSettings, R"({"Settings.EnableDashboard":1})", "type #/Settings.EnableDashboard"},
        WrongDocument{kSettings, R"({"Settings.CurrentBitrate":0})", "minimum #/Settings.CurrentBitrate"},
        WrongDocument{kSettings, R"({"Settings":[]})", "type #/Settings"},
        WrongDocument{kSettings, R"({"Settings":{"Language":5}})", "type #/Settings/Language"},
        WrongDocument{kSettings, R"({"Settings":{"Mine":null}})", "anyOf #/Settings/Mine"},
        WrongDocument{kSettings, R"({"Mine":[1]})", "anyOf #/Mine"},
        WrongDocument{kSettings, R"({"Properties":{"BitrateList":"20;40"}})",
                      "pattern #/Properties/BitrateList"},
        WrongDocument{kSettings, R"({"Network":{"ControlPort":70000}})", "maximum #/Network/ControlPort"},
        WrongDocument{kSettings, R"({"Network":{"Wifi":true}})", "type #/Network/Wifi"},
        WrongDocument{kSettings, R"({"Video":{"RateControl":"CBR"}})", "enum #/Video/RateControl"},
        WrongDocument{kSettings, R"({"CL":{}})", "type #/CL"},
        WrongDocument{kSettings, R"({"cl":[5]})", "type #/cl/0"},
        WrongDocument{kSettings, R"({"CL":[{"Bitrate":40}]})", "required #/CL/0"},
        WrongDocument{kSettings, R"({"CL":[{"HD":5}]})", "type #/CL/0/HD"},
        WrongDocument{kSettings, R"({"CL":[{"HD":""}]})", "minLength #/CL/0/HD"},
        WrongDocument{kSettings, R"({"":1})", "not #/"},
        WrongDocument{kSettings, R"({"Mine":{"":1}})", "anyOf #/Mine"},
        WrongDocument{kSettings, R"({"$schema":"x"})", "not #/%24schema"},
        WrongDocument{kSettings, R"({"Mine":9223372036854775808})", "anyOf #/Mine"},
        WrongDocument{kSettings, R"({"Settings":{"CurrentBitrate":70}})", "not #/Settings/CurrentBitrate"},
        WrongDocument{kSettings, R"({"Settings.CurrentBitrate":70.5})", "type #/Settings.CurrentBitrate"},
        WrongDocument{kSettings, R"({"CL":[{"HD":"A","Sharpening":2}]})", "maximum #/CL/0/Sharpening"}));

INSTANTIATE_TEST_SUITE_P(
    HmdList, WrongDocuments,
    testing::Values(
        WrongDocument{kHmdList, R"({})", "type #"}, WrongDocument{kHmdList, R"([5])", "type #/0"},
        WrongDocument{kHmdList, R"([{"Response":[]}])", "required #/0"},
        WrongDocument{kHmdList, R"([{"DeviceName":5,"Response":[]}])", "type #/0/DeviceName"},
        WrongDocument{kHmdList, R"([{"DeviceName":"A","Response":{}}])", "type #/0/Response"},
        WrongDocument{kHmdList, R"([{"DeviceName":"","Response":[]}])", "minLength #/0/DeviceName"},
        WrongDocument{kHmdList, R"([{"DeviceName":"A","Response":[],"Name":"A"}])",
                      "additionalProperties #/0/Name"},
        WrongDocument{
            kHmdList,
            R"([{"DeviceName":"A","Response":[{"MainRequest":1,"SubRequest":1,"index":0,"Value":1,"Note":1}]}])",
            "additionalProperties #/0/Response/0/Note"},
        WrongDocument{kHmdList, R"([{"DeviceName":"A","Response":[5]}])", "type #/0/Response/0"},
        WrongDocument{kHmdList,
                      R"([{"DeviceName":"A","Response":[{"MainRequest":1,"SubRequest":1,"Value":1}]}])",
                      "required #/0/Response/0"},
        WrongDocument{
            kHmdList,
            R"([{"DeviceName":"A","Response":[{"MainRequest":1,"SubRequest":1,"index":3.5,"Value":1}]}])",
            "type #/0/Response/0/index"},
        WrongDocument{
            kHmdList,
            R"([{"DeviceName":"A","Response":[{"MainRequest":1,"SubRequest":1,"index":0,"Value":[null]}]}])",
            "anyOf #/0/Response/0/Value"}));

INSTANTIATE_TEST_SUITE_P(Quality, WrongDocuments,
                         testing::Values(WrongDocument{kQuality, R"([])", "type #"},
                                         WrongDocument{kQuality, R"({"A":{"x":1}})", "anyOf #/A"},
                                         WrongDocument{kQuality, R"({"A":null})", "anyOf #/A"},
                                         WrongDocument{kQuality, R"({"A":[5]})", "anyOf #/A"},
                                         WrongDocument{kQuality, R"({"A":[{"Bitrate":"70"}]})", "anyOf #/A"},
                                         WrongDocument{kQuality, R"({"A":[{},{},{},{},{}]})", "anyOf #/A"},
                                         WrongDocument{kQuality, R"({"A":[{"B":{"y":1}}]})", "anyOf #/A"}));

} // namespace
} // namespace zq
