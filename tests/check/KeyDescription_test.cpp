#include "check/KeyDescription.h"

#include "check/Quote.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

// "pattern, type, range, default", or nothing for a name that is not described.
std::string Described(std::wstring_view name) {
    const auto key = DescribeKey(name);
    if (!key) {
        return {};
    }
    const JsonValue* const value = key->rule.Default();
    return Utf8(key->pattern) + ", " + key->rule.TypeText() + ", " + RangeText(key->rule) + ", " +
           (value ? ValueText(*value) : "-");
}

TEST(KeyDescription, FindsDottedAndNestedSettings) {
    EXPECT_EQ("Settings.CurrentBitrate, integer, 1 to 1000 Mbit/s, 70",
              Described(L"Settings.CurrentBitrate"));
    EXPECT_EQ("Settings.Language, string, , \"en\"", Described(L"Settings.Language"));
    EXPECT_EQ("Video.RateControl, string, \"cbr\", \"vbr\" or \"cqp\", \"cbr\"",
              Described(L"Video.RateControl"));
    EXPECT_EQ("Tracking.PlayArea.Width, number, 0 or more m, 2.5", Described(L"Tracking.PlayArea.Width"));
    EXPECT_EQ("PresetVersion, integer, 0 or more, 2", Described(L"PresetVersion"));
}

TEST(KeyDescription, FindsMembersOfAHeadsetWhateverItsName) {
    EXPECT_EQ("CL.<HD>.Bitrate, integer, 1 to 1000 Mbit/s, -", Described(L"CL.MERIN5.Bitrate"));
    EXPECT_EQ("CL.<HD>.Display.Width, integer, 1 to 32768 pixels, -", Described(L"CL.A.B.Display.Width"));
    EXPECT_EQ("CL.<headset>.Ultra.Bitrate, integer, 1 to 1000 Mbit/s, -",
              Described(L"CL.MERIN5.Ultra.Bitrate"));
}

TEST(KeyDescription, FindsResponses) {
    EXPECT_EQ("CL.<DeviceName>.<MainRequest>.<SubRequest>.<index>.<n>, bool, number or string, , -",
              Described(L"CL.MERIN5.3.0.0.4"));
    EXPECT_EQ("CL.<DeviceName>.<MainRequest>.<SubRequest>.<index>.ArraySize, integer, 0 or more, -",
              Described(L"CL.MERIN5.3.0.-1.ArraySize"));
}

TEST(KeyDescription, FindsWhatTheModuleSetsItself) {
    const auto key = DescribeKey(L"HmdNameList.12");
    ASSERT_TRUE(key);
    EXPECT_FALSE(key->file);
    EXPECT_EQ(L"HmdNameList.<n>", key->pattern);
    EXPECT_TRUE(DescribeKey(L"Server IP List"));
}

TEST(KeyDescription, HasNothingForOtherNames) {
    for (const wchar_t* name :
         {L"", L".", L"Mine", L"Settings", L"Settings.Mine", L"Settings.Settings.Language", L"CL", L"CL.",
          L"CL.MERIN5", L"CL.MERIN5.Mine", L"CL.MERIN5.1.2", L"HmdNameList.x", L"$schema"}) {
        EXPECT_EQ("", Described(name)) << Utf8(name);
    }
}

std::string MisfitText(std::wstring_view name, const JsonValue& value) {
    const auto misfit = MisfitOf(DescribeKey(name)->rule, value);
    return misfit ? std::string(misfit->code) + ": " + misfit->text + "; " + misfit->fix : "fits";
}

JsonValue Text(std::wstring_view text) {
    JsonValue value;
    value.kind = JsonKind::String;
    value.count = static_cast<uint32_t>(text.size());
    value.text = text.data();
    return value;
}

JsonValue Integer(int64_t number) {
    JsonValue value;
    value.kind = JsonKind::Integer;
    value.integer = number;
    return value;
}

JsonValue Double(double number) {
    JsonValue value;
    value.kind = JsonKind::Double;
    value.real = number;
    return value;
}

TEST(SchemaRule, SaysWhyAValueDoesNotFit) {
    EXPECT_EQ("fits", MisfitText(L"Settings.CurrentBitrate", Integer(70)));
    EXPECT_EQ("out-of-range: is below 1; write 1 to 1000 Mbit/s",
              MisfitText(L"Settings.CurrentBitrate", Integer(-5)));
    EXPECT_EQ("out-of-range: is above 1000; write 1 to 1000 Mbit/s",
              MisfitText(L"Settings.CurrentBitrate", Integer(1001)));
    EXPECT_EQ("wrong-type: is a number with a point, but a whole number is expected; write a number without "
              "a point",
              MisfitText(L"Settings.CurrentBitrate", Double(70.5)));
    EXPECT_EQ("wrong-type: is a text, but a whole number is expected; write 90 without quotes",
              MisfitText(L"Settings.CurrentBitrate", Text(L"90")));
    EXPECT_EQ("wrong-type: is a text, but a bool is expected; write false without quotes",
              MisfitText(L"Settings.EnableDashboard", Text(L"false")));
    EXPECT_EQ("wrong-type: is a whole number, but a text is expected; put it in quotes",
              MisfitText(L"Settings.ServerName", Integer(5)));
    EXPECT_EQ("no-choice: is not one of the possible values; write \"cbr\", \"vbr\" or \"cqp\"",
              MisfitText(L"Video.RateControl", Text(L"CBR")));
    EXPECT_EQ("fits", MisfitText(L"Properties.BitrateList", Text(L"20,40.5")));
    for (const wchar_t* list : {L"20,,40", L",20", L"20,", L"", L"20;40"}) {
        EXPECT_EQ(
            "no-number-list: is not a list of numbers; write numbers, separated by commas: \"20,40,70\"",
            MisfitText(L"Properties.BitrateList", Text(list)));
    }
}

// A whole number of a file is a double too.
TEST(SchemaRule, TakesAWholeNumberForADouble) {
    EXPECT_EQ("fits", MisfitText(L"Tracking.PlayArea.Width", Integer(2)));
    EXPECT_EQ("fits", MisfitText(L"Tracking.PlayArea.Width", Double(2.5)));
}

} // namespace
} // namespace zq::test
