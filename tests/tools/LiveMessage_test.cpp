#include "LiveMessage.h"

#include <gtest/gtest.h>

#include <limits>
#include <regex>

namespace zq::tool {
namespace {

// Without the time, which no two messages share.
std::string Timeless(const std::string& message) {
    return std::regex_replace(message, std::regex(",\"time\":\"[0-9T:.-]{23}Z\""), "");
}

TEST(LiveMessage, BeginsWithVersionKindAndTime) {
    const std::regex form(
        R"(\{"version":1,"kind":"accept","time":"[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:.]{12}Z",.*\})");

    EXPECT_TRUE(std::regex_match(AcceptMessage(ConfigFile::HmdList), form))
        << AcceptMessage(ConfigFile::HmdList);
}

TEST(LiveMessage, HasIntegersThatReadersRoundAsTextToo) {
    const std::vector<VariableChange> changes = {
        {L"A", {VariableTypeInt64}, int64_t{9007199254740991}, int64_t{9007199254740993}},
        {L"B", {VariableTypeInt64}, std::nullopt, std::numeric_limits<int64_t>::min()}};

    EXPECT_EQ(
        R"({"version":1,"kind":"change","changes":[)"
        R"({"name":"A","types":["integer"],"old":9007199254740991,"new":9007199254740993,"newText":"9007199254740993"},)"
        R"({"name":"B","types":["integer"],"new":-9223372036854775808,"newText":"-9223372036854775808"}],"source":"host"})",
        Timeless(ChangeMessage(changes, "host")));
}

TEST(LiveMessage, HasWordsForDoublesThatJsonCannotHold) {
    const double infinity = std::numeric_limits<double>::infinity();
    rapidjson::StringBuffer buffer;
    MessageWriter writer(buffer);
    WriteVariables(writer, {{L"A", std::numeric_limits<double>::quiet_NaN()},
                            {L"B", infinity},
                            {L"C", -infinity},
                            {L"D", int64_t{70}},
                            {L"D", 70.0},
                            {L"E", int64_t{70}},
                            {L"E", 70.5}});

    EXPECT_EQ(
        R"([{"name":"A","types":["double"],"value":"NaN"},{"name":"B","types":["double"],"value":"Infinity"},)"
        R"({"name":"C","types":["double"],"value":"-Infinity"},{"name":"D","types":["integer","double"],"value":70},)"
        R"({"name":"E","types":["integer"],"value":70},{"name":"E","types":["double"],"value":70.5}])",
        std::string(buffer.GetString()));
}

TEST(LiveMessage, OfARefusalHasPositionReasonFixAndFindings) {
    EXPECT_EQ(
        R"({"version":1,"kind":"refusal","file":"ZQ2_serverSetting.setting","outcome":"kept","line":1,"column":3,)"
        R"("reason":"a line break follows the end of the document",)"
        R"("fix":"remove it: the file must end with its last \"}\"","problems":[)"
        R"({"severity":"error","code":"trailing","line":1,"column":3,"endLine":2,"endColumn":1,)"
        R"("text":"a line break follows the end of the document",)"
        R"("fix":"remove it: the file must end with its last \"}\""}]})",
        std::regex_replace(Timeless(RefusalMessage(ConfigFile::Settings, "{}\n", "kept")),
                           std::regex(R"(\{"severity":"warning".*?\},)"), ""));
    EXPECT_EQ(
        R"({"version":1,"kind":"refusal","file":"ZQ2_HmdList.json","outcome":"missing","reason":"the file does not exist"})",
        Timeless(MissingMessage(ConfigFile::HmdList, "missing")));
}

} // namespace
} // namespace zq::tool
