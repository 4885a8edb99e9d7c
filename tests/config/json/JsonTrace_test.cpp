#include "config/json/JsonReader.h"
#include "config/json/JsonTrace.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zq {
namespace {

class TextTrace final : public JsonTrace {
public:
    std::vector<std::string> calls;

private:
    void Tell(const std::string& what, int32_t place) { calls.push_back(what + ' ' + std::to_string(place)); }

    void OnOpen(int32_t place, bool isObject) override { Tell(isObject ? "{" : "[", place); }
    void OnClose(int32_t end) override { Tell("close", end); }
    void OnKey(int32_t place, int32_t end, std::wstring_view key) override {
        Tell(std::string(key.begin(), key.end()) + '-' + std::to_string(end), place);
    }
    void OnScalar(int32_t place, int32_t end, const JsonValue& value) override {
        Tell("kind" + std::to_string(static_cast<int>(value.kind)) + '-' + std::to_string(end), place);
    }
    void OnMissingComma(int32_t place) override { Tell("missing", place); }
    void OnTrailingComma(int32_t place) override { Tell("trailing", place); }
    void OnFault(int32_t place, JsonFault fault) override {
        Tell("fault" + std::to_string(static_cast<int>(fault)), place);
    }
};

using Calls = std::vector<std::string>;

Calls Trace(std::wstring_view text) {
    JsonRoot root;
    TextTrace trace;
    const int32_t traced = ParseJsonValue(root, text.data(), static_cast<int32_t>(text.size()), trace);
    JsonRoot plain;
    EXPECT_EQ(ParseJsonValue(plain, text.data(), static_cast<int32_t>(text.size())), traced);
    return trace.calls;
}

std::string Fault(JsonFault fault, int place) {
    return "fault" + std::to_string(static_cast<int>(fault)) + ' ' + std::to_string(place);
}

TEST(JsonTrace, ReportsEachTokenWithItsOffset) {
    EXPECT_EQ(Calls({"{ 1", "a-5 2", "[ 6", "kind2-8 7", "close 10", "bc-15 11", "kind1-20 16", "close 21"}),
              Trace(L" {\"a\":[1 ],\"bc\":true}"));
    EXPECT_EQ(Calls({"kind4-3 0"}), Trace(L"\"x\""));
}

TEST(JsonTrace, ReportsMissingAndSurplusCommas) {
    EXPECT_EQ(Calls({"[ 0", "kind2-2 1", "missing 3", "kind2-4 3", "trailing 4", "close 6"}),
              Trace(L"[1 2,]"));
    EXPECT_EQ(Calls({"[ 0", "[ 1", "close 3", "missing 3", "[ 3", "close 5", "close 6"}), Trace(L"[[][]]"));
    EXPECT_EQ(Calls({"{ 0", "close 2"}), Trace(L"{}"));
}

TEST(JsonTrace, ReportsWhyReadingFails) {
    EXPECT_EQ(Calls({Fault(JsonFault::Empty, 0)}), Trace(L""));
    EXPECT_EQ(Calls({Fault(JsonFault::Empty, 2)}), Trace(L" \n"));
    EXPECT_EQ(Calls({Fault(JsonFault::NoValue, 1)}), Trace(L" x"));
    EXPECT_EQ(Calls({Fault(JsonFault::NoValue, 0)}), Trace(L"x"));
    EXPECT_EQ(Calls({Fault(JsonFault::NeverClosed, 0)}), Trace(L"[1"));
    EXPECT_EQ(Calls({"[ 0", "[ 1", "close 3", Fault(JsonFault::Unfinished, 3)}), Trace(L"[[]"));
    EXPECT_EQ(Calls({"{ 0", Fault(JsonFault::NoKey, 1)}), Trace(L"{1}"));
    EXPECT_EQ(Calls({"{ 0", "a-4 1", Fault(JsonFault::NoColon, 4)}), Trace(L"{\"a\"}"));
    EXPECT_EQ(Calls({"[ 0", Fault(JsonFault::SecondPoint, 1)}), Trace(L"[1.2.3]"));
    EXPECT_EQ(Calls({Fault(JsonFault::SecondPoint, 0)}), Trace(L"1.2.3"));
    EXPECT_EQ(Calls({Fault(JsonFault::NumberAtEnd, 0)}), Trace(L"-1.5"));
    EXPECT_EQ(Calls({"[ 0", Fault(JsonFault::WrongLiteral, 1)}), Trace(L"[nil]"));
}

} // namespace
} // namespace zq
