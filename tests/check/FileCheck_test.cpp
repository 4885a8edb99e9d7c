#include "check/Checking.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

using namespace std::string_literals;

TEST(FileCheck, SaysNothingOfAGoodFile) {
    EXPECT_EQ(Lines(), Check(R"({"A":{"B":true},"CL":[{"HD":"X","Bitrate":40}],"N":-1.5})"));
    EXPECT_EQ(Lines(), Check("  {\n  \"A\": \"\\u0041 \\\\ \\n\"\n}"));
    EXPECT_EQ(Lines(), Check("[]", ConfigFile::HmdList));
}

TEST(FileCheck, RefusesAByteOrderMark) {
    EXPECT_EQ(Lines({"1:1 error byte-order-mark"}), Check("\xEF\xBB\xBF{}"));
}

TEST(FileCheck, RefusesUtf16InBothByteOrders) {
    EXPECT_EQ(Lines({"1:1 error utf-16"}), Check("\xFF\xFE{\0}\0"s));
    EXPECT_EQ(Lines({"1:1 error utf-16"}), Check("\xFE\xFF\0{\0}"s));
    EXPECT_EQ(Lines({"1:1 error utf-16"}), Check("{\0}\0"s));
}

TEST(FileCheck, PlacesCharactersOfSeveralBytes) {
    // The ANSI code page of most machines has a character for each byte, so these files are taken there.
    EXPECT_EQ(Lines({"2:6 warning non-ascii", "2:9 warning non-ascii", "2:12 warning non-ascii"}),
              Check("{\n\"A\":\"\xC3\xA9\xC3\xA8 \xE2\x82\xAC x\xF0\x9F\x98\x80y\"}"));
    EXPECT_EQ(Lines({"1:1 error byte-order-mark", "1:7 warning non-ascii"}),
              Check("\xEF\xBB\xBF{\"A\":\"\xC3\xA9\"}"));
}

TEST(FileCheck, RefusesWhatFollowsTheEnd) {
    EXPECT_EQ(Lines({"1:3 error trailing"}), Check("{}\n"));
    EXPECT_EQ(Lines({"1:3 error trailing"}), Check("{}  "));
    EXPECT_EQ(Lines({"2:5 error trailing", "2:6 error trailing"}), Check("{\"A\":1\n }  } "));
}

TEST(FileCheck, RefusesZeroBytesAtTheEnd) {
    EXPECT_EQ(Lines({"1:3 error zero-bytes"}), Check("{}\0\0\0"s));
    EXPECT_EQ(Lines({"1:1 error zero-file"}), Check("\0\0\0"s));
}

TEST(FileCheck, RefusesAnEmptyFile) {
    EXPECT_EQ(Lines({"1:1 error empty"}), Check(""));
    EXPECT_EQ(Lines({"2:1 error empty"}), Check(" \n"));
}

TEST(FileCheck, RefusesANumberAtTheVeryEnd) { EXPECT_EQ(Lines({"1:1 error number-at-end"}), Check("-5.5")); }

TEST(FileCheck, RefusesASecondPoint) {
    EXPECT_EQ(Lines({"1:6 error second-point"}), Check(R"({"A":1.2.3})"));
    EXPECT_EQ(Lines({"1:1 error second-point"}), Check("1.2.3"));
}

TEST(FileCheck, RefusesBracketsThatDoNotClose) {
    const ConfigFile list = ConfigFile::HmdList;
    EXPECT_EQ(Lines({"1:1 error unclosed"}), Check(R"({"A":1)"));
    EXPECT_EQ(Lines({"1:6 error unclosed"}), Check(R"({"A":{"B":1)"));
    EXPECT_EQ(Lines({"1:6 error unclosed"}), Check(R"({"X":[{"B":1})", ConfigFile::Quality));
    EXPECT_EQ(Lines({"1:2 warning skipped-device", "1:3 warning not-read", "1:8 error wrong-bracket"}),
              Check(R"([{"A":1]])", list));
    EXPECT_EQ(Lines({"1:2 warning skipped-device", "1:4 error wrong-bracket"}), Check(R"([[1}]])", list));
    EXPECT_EQ(Lines({"1:1 error wrong-bracket"}), Check("]"));
    EXPECT_EQ(Lines({"1:1 error no-brace"}), Check(R"("A":1})"));
}

TEST(FileCheck, FindsByTheIndentationWhichBracketIsMissing) {
    EXPECT_EQ(Lines({"2:6 error unclosed"}), Check("{\n \"A\":{\n  \"B\":1,\n \"C\":{\n  \"D\":2\n }\n}"));
    EXPECT_EQ(Lines({"3:7 error unclosed"}), Check("{\n \"A\":{\n  \"B\":{\n   \"C\":1\n },\n \"D\":2\n}"));
    EXPECT_EQ(Lines({"2:2 error no-brace"}), Check("{\n \"A\":\n  \"B\":1\n },\n \"D\":2\n}"));
    EXPECT_EQ(Lines({"2:2 error no-brace"}), Check("{\n \"A\"\n  \"B\":1\n },\n \"D\":2\n}"));
    EXPECT_EQ(Lines({"1:2 error no-brace"}), Check(R"({"A" "B":1}})"));
}

TEST(FileCheck, SaysOnceThatAValueIsMissing) {
    EXPECT_EQ(Lines({"1:2 error no-value"}), Check(R"({"A"})"));
    EXPECT_EQ(Lines({"1:6 error no-value"}), Check(R"({"A":})"));
    EXPECT_EQ(Lines({"1:2 error no-value"}), Check(R"({"A","B":1})"));
    EXPECT_EQ(Lines({"1:2 error no-value", "1:6 error no-quotes"}), Check(R"({"A":B:1})"));
}

TEST(FileCheck, ShowsWhereATextIsCutShort) {
    EXPECT_EQ(Lines({"1:6 warning unclosed-text"}), Check("{\"A\":\"x,\n\"B\":1}"));
    EXPECT_EQ(Lines({"1:6 error unclosed-text"}), Check(R"({"A":"x})"));
    EXPECT_EQ(Lines({"1:2 error unclosed-text"}), Check("{\"A: 1,\n\"B\":1}"));
    EXPECT_EQ(Lines({"1:2 error unopened-text", "2:5 error wrong-literal"}), Check("{A\":1,\n\"B\":yes}"));
}

TEST(FileCheck, RefusesWhatIsNoValue) {
    EXPECT_EQ(Lines({"1:6 error wrong-literal"}), Check(R"({"A":nil})"));
    EXPECT_EQ(Lines({"1:6 error wrong-literal"}), Check(R"({"A":yes})"));
    EXPECT_EQ(Lines({"1:6 error no-value"}), Check(R"({"A":,"B":1})"));
    EXPECT_EQ(Lines({"1:6 error no-value"}), Check(R"({"A":?})"));
    EXPECT_EQ(Lines({"1:6 error no-colon"}), Check(R"({"A" 1})"));
    EXPECT_EQ(Lines({"1:6 error hexadecimal"}), Check(R"({"A":0x46})"));
    EXPECT_EQ(Lines({"1:6 error decimal-comma"}), Check("{\"A\":70,5,\"B\":1}"));
    EXPECT_EQ(Lines({"1:9 error unit"}), Check(R"({"A":70 Mbps})"));
    EXPECT_EQ(Lines({"1:6 error unit"}), Check(R"({"A":70Mbps})"));
    EXPECT_EQ(Lines({"1:6 error no-quotes"}), Check(R"({"A":HEVC})"));
    EXPECT_EQ(Lines({"1:2 error no-quotes"}), Check(R"({A:1})"));
}

TEST(FileCheck, RefusesCommentsWhereverTheyAre) {
    EXPECT_EQ(Lines({"1:1 error comment"}), Check("// x\n{}"));
    EXPECT_EQ(Lines({"1:2 error comment"}), Check("{# x\n\"A\":1}"));
    EXPECT_EQ(Lines({"1:8 error comment"}), Check(R"({"A":1 /* "B":2 */})"));
    EXPECT_EQ(Lines({"1:8 error comment", "1:12 error trailing"}), Check("{\"A\":1}// x\n"));
}

TEST(FileCheck, RefusesOtherQuotesOnceALine) {
    EXPECT_EQ(Lines({"1:2 error single-quotes"}), Check(R"({'A':'x'})"));
    EXPECT_EQ(Lines({"1:2 error curly-quotes"}), Check("{\xE2\x80\x9C"
                                                       "A\xE2\x80\x9D:\xE2\x80\x9Cx\xE2\x80\x9D}"));
    EXPECT_EQ(Lines({"1:8 error curly-quotes"}), Check("{\"A\":\"x\xE2\x80\x9D}"));
}

TEST(FileCheck, RefusesOddBlanks) {
    EXPECT_EQ(Lines({"1:6 error odd-blank"}), Check("{\"A\":\xC2\xA0"
                                                    "1}"));
    EXPECT_EQ(Lines({"1:2 error odd-blank"}), Check("{\xE2\x80\x8B\"A\":1}"));
}

TEST(FileCheck, RefusesMergeMarkersOnce) {
    EXPECT_EQ(Lines({"2:1 error merge-conflict"}),
              Check("{\n<<<<<<< ours\n\"A\":1\n=======\n\"A\":2\n>>>>>>> theirs\n}"));
}

TEST(FileCheck, FindsAllIndependentFaultsInOneRun) {
    EXPECT_EQ(Lines({"1:6 error wrong-literal", "2:1 error single-quotes", "3:5 error exponent",
                     "4:7 error comment"}),
              Check("{\"A\":yes,\n'B':1,\n\"C\":1e5,\n\"D\":5 // x\n}"));
}

TEST(FileCheck, RefusesAnExponentWhereverItIs) {
    EXPECT_EQ(Lines({"1:6 error exponent"}), Check(R"({"A":1E5,"B":2})"));
    EXPECT_EQ(Lines({"1:6 error exponent"}), Check(R"({"A":1.5e-3})"));
}

TEST(FileCheck, RefusesAHeadsetListThatIsNoArray) {
    EXPECT_EQ(Lines({"1:1 error wrong-root"}), Check("{}", ConfigFile::HmdList));
    EXPECT_FALSE(IsAccepted("{}", ConfigFile::HmdList));
}

TEST(FileCheck, WarnsOfADocumentThatGivesNothing) {
    EXPECT_EQ(Lines({"1:1 warning wrong-root"}), Check("[]"));
    EXPECT_EQ(Lines({"1:1 warning wrong-root"}), Check("true", ConfigFile::Quality));
}

TEST(FileCheck, WarnsOfNumbersThatReadOtherwise) {
    EXPECT_EQ(Lines({"1:6 warning too-large"}), Check(R"({"A":9223372036854775808})"));
    EXPECT_EQ(Lines({"1:6 warning too-large"}), Check(R"({"A":-9223372036854775808})"));
    EXPECT_EQ(Lines(), Check(R"({"A":9223372036854775807,"B":-9223372036854775807,"C":0,"D":-0.5})"));
    EXPECT_EQ(Lines({"1:6 warning lone-sign"}), Check(R"({"A":-})"));
    EXPECT_EQ(Lines({"1:6 warning odd-number", "1:13 warning odd-number", "1:21 warning odd-number",
                     "1:28 warning odd-number"}),
              Check(R"({"A":+1,"B":007,"C":1.,"D":-.5})"));
}

TEST(FileCheck, WarnsOfLiteralsInOtherLetterCase) {
    EXPECT_EQ(Lines({"1:6 warning literal-case"}), Check(R"({"A":True})"));
}

TEST(FileCheck, WarnsOfEscapesThatAreLost) {
    EXPECT_EQ(Lines({"1:8 warning lost-escape"}), Check(R"({"A":"x\by"})"));
    EXPECT_EQ(Lines({"1:3 warning lost-escape"}), Check(R"({"\A":1})"));
    EXPECT_EQ(Lines({"1:7 warning wrong-escape"}), Check(R"({"A":"\u12x4"})"));
    EXPECT_EQ(Lines({"1:7 warning zero-character"}), Check(R"({"A":"\u0000"})"));
    EXPECT_EQ(Lines({"1:8 warning zero-character"}), Check("{\"A\":\"x\0y\"}"s));
}

TEST(FileCheck, WarnsOfALineBreakInsideAText) {
    EXPECT_EQ(Lines({"1:8 warning raw-control"}), Check("{\"A\":\"x\ny\nz\"}"));
}

TEST(FileCheck, WarnsOfANameWithoutItsOpeningQuote) {
    EXPECT_EQ(Lines({"1:2 warning unopened-text"}), Check("{xA\":1}"));
}

TEST(FileCheck, WarnsOfCommasMissingOrTooMany) {
    EXPECT_EQ(Lines({"1:8 warning missing-comma"}), Check(R"({"a":1 "b":2})"));
    EXPECT_EQ(Lines({"1:7 warning trailing-comma"}), Check(R"({"a":1,})"));
    EXPECT_EQ(
        Lines({"1:6 warning ignored-array", "1:9 warning missing-comma", "1:10 warning trailing-comma"}),
        Check(R"({"a":[1 2,]})"));
}

TEST(FileCheck, WarnsOfDuplicateKeysAtTheOnesThatLose) {
    EXPECT_EQ(Lines({"1:2 warning duplicate-key"}), Check(R"({"a":1,"b":2,"a":3})"));
    EXPECT_EQ(Lines({"1:2 warning duplicate-key", "1:8 warning duplicate-key"}),
              Check(R"({"a":1,"\u0061":2,"a":3})"));
}

TEST(FileCheck, WarnsOfADottedKeyThatCollidesWithANestedOne) {
    EXPECT_EQ(Lines({"1:7 warning overwritten"}), Check(R"({"A":{"B":1},"A.B":2})"));
    // A whole number is a double too.
    EXPECT_EQ(Lines({"1:7 warning overwritten"}), Check(R"({"A":{"B":1},"A.B":2.5})"));
    EXPECT_EQ(Lines({"1:7 warning overwritten"}), Check(R"({"A":{"B":1.5},"A.B":2})"));
    EXPECT_EQ(Lines(), Check(R"({"A":{"B":true},"A.B":2})"));
}

TEST(FileCheck, WarnsOfNamesThatTheModuleWritesItself) {
    EXPECT_EQ(Lines({"1:2 warning not-read"}), Check(R"({"HmdNameSize":7})"));
}

TEST(FileCheck, WarnsOfSettingsThatAreDropped) {
    EXPECT_EQ(Lines({"1:6 warning ignored-array"}), Check(R"({"A":[1,2]})"));
    EXPECT_EQ(Lines({"1:6 warning skipped-null"}), Check(R"({"A":null})"));
    EXPECT_EQ(Lines({"1:2 warning no-name"}), Check(R"({"":1})"));
    EXPECT_EQ(Lines({"1:8 warning skipped-headset", "1:10 warning skipped-headset"}),
              Check(R"({"CL":[5,{"HD":6}]})"));
}

TEST(FileCheck, WarnsOfInvalidResponses) {
    const ConfigFile file = ConfigFile::HmdList;
    EXPECT_EQ(Lines({"1:2 warning skipped-device"}), Check(R"([5])", file));
    EXPECT_EQ(Lines({"1:2 warning skipped-device"}), Check(R"([{"DeviceName":5,"Response":[]}])", file));
    EXPECT_EQ(Lines({"1:34 warning skipped-response", "1:45 warning skipped-response"}),
              Check(R"([{"DeviceName":"A","Response":[  5,{"index":3.0}]}])", file));
    EXPECT_EQ(Lines({"3:1 warning skipped-value"}),
              Check("[{\"DeviceName\":\"A\",\"Response\":[\n"
                    "{\"MainRequest\":1,\"SubRequest\":2,\"index\":3,\"Value\":\nnull}]}]",
                    file));
}

TEST(FileCheck, WarnsOfInvalidPresets) {
    const ConfigFile file = ConfigFile::Quality;
    EXPECT_EQ(Lines({"1:2 warning skipped-member"}), Check(R"({"A":{"x":1}})", file));
    EXPECT_EQ(Lines({"1:7 warning skipped-preset"}), Check(R"({"A":[5]})", file));
    EXPECT_EQ(Lines({"1:36 warning overwritten"}),
              Check(R"({"A":[{"x":1},{"x":1},{},{  "x":1},{"x":2}]})", file));
}

TEST(FileCheck, WarnsOfAKeyThatLooksMisspelt) {
    DefaultFile known;
    known.keys = {L"Bitrate", L"CheckForUpdates", L"MERIN5", L"HD"};
    EXPECT_EQ(Lines({"1:2 warning misspelt"}), Check(R"({"Bitrat":1})", ConfigFile::Settings, known));
    EXPECT_EQ(Lines({"1:2 warning misspelt"}), Check(R"({"bitrate":1})", ConfigFile::Settings, known));
    EXPECT_EQ(Lines({"1:2 warning misspelt"}),
              Check(R"({"ChekcForUpdates":1})", ConfigFile::Settings, known));
    // Digits number things, and a key next to the known one is not a slip.
    EXPECT_EQ(Lines(), Check(R"({"MERIN6":1,"Other":2,"HE":3})", ConfigFile::Settings, known));
    EXPECT_EQ(Lines(), Check(R"({"Bitrate":1,"Bitrates":2})", ConfigFile::Settings, known));
}

TEST(FileCheck, ComparesTypesWithTheSchema) {
    EXPECT_EQ(Lines({"1:28 warning wrong-type"}), Check(R"({"Settings.CurrentBitrate":"90"})"));
    EXPECT_EQ(Lines({"1:28 warning wrong-type"}), Check(R"({"Settings.CurrentBitrate":70.5})"));
    EXPECT_EQ(Lines({"1:28 warning out-of-range"}), Check(R"({"Settings.CurrentBitrate":-5})"));
    EXPECT_EQ(Lines({"1:29 warning wrong-type"}), Check(R"({"Settings.EnableDashboard":"false"})"));
    EXPECT_EQ(Lines({"1:27 warning no-choice"}), Check(R"({"Video":{ "RateControl": "CBR"}})"));
    EXPECT_EQ(Lines({"1:32 warning wrong-type"}), Check(R"({"CL":[{"HD":"X","RefreshRate":"90"}]})"));
    EXPECT_EQ(Lines({"1:18 warning out-of-range"}), Check(R"({"X":[{"Bitrate":0}]})", ConfigFile::Quality));
    EXPECT_EQ(Lines({"1:12 warning wrong-type"}), Check(R"({"Network":5})"));
    EXPECT_EQ(Lines({"1:7 warning wrong-type"}), Check(R"({"CL":{"HD":"X"}})"));
}

TEST(FileCheck, ComparesTypesWithTheDefaultFile) {
    const DefaultFile defaults(ConfigFile::Settings, R"({"Mine":{"Count":1,"Ratio":0.5}})");
    EXPECT_EQ(Lines({"1:18 warning wrong-type"}),
              Check(R"({"Mine":{"Count":"1"}})", ConfigFile::Settings, defaults));
    EXPECT_EQ(Lines(),
              Check(R"({"Mine":{"Count":2,"Ratio":1},"Other":"x"})", ConfigFile::Settings, defaults));
    const std::string list =
        R"([{"DeviceName":"A","Response":[{"MainRequest":1,"SubRequest":1,"index":0,"Value":)";
    const DefaultFile devices(ConfigFile::HmdList, list + "[20]}]}]");
    EXPECT_EQ(Lines({"1:83 warning wrong-type"}), Check(list + "[\"20\"]}]}]", ConfigFile::HmdList, devices));
}

TEST(FileCheck, WarnsOfMembersThatAreDropped) {
    EXPECT_EQ(Lines({"1:2 warning not-read"}), Check(R"({"$schema":"x"})"));
    EXPECT_EQ(Lines({"1:14 warning not-read"}), Check(R"({"Settings":{"CurrentBitrate":70}})"));
    EXPECT_EQ(Lines({"1:14 warning empty-name"}), Check(R"({"CL":[{"HD":"","A":1}]})"));
    EXPECT_EQ(Lines({"1:34 warning not-read"}),
              Check(R"([{"DeviceName":"A","Response":[],"Note":1}])", ConfigFile::HmdList));
}

TEST(FileCheck, WarnsOfAnIndexOfNoHeadset) {
    EXPECT_EQ(Lines({"1:8 warning no-such-headset"}), Check(R"({"DHI":3,"CL":[{"HD":"X"}]})"));
    EXPECT_EQ(Lines(), Check(R"({"DHI":0,"CL":[{"HD":"X"}]})"));
    EXPECT_EQ(Lines({"1:28 warning out-of-range"}),
              Check(R"({"CL":[{"HD":"X","Bitrate":90,"MaxBitrate":80}]})"));
}

TEST(FileCheck, PointsAtTheNumberOfAResponseThatIsAText) {
    EXPECT_EQ(
        Lines({"1:72 warning skipped-response"}),
        Check(R"([{"DeviceName":"A","Response":[{"MainRequest":1,"SubRequest":1,"index":"0","Value":1}]}])",
              ConfigFile::HmdList));
}

TEST(FileCheck, WarnsOnceOfADeviceThatIsThereTwice) {
    const std::string device =
        R"({"DeviceName":"A","Response":[{"MainRequest":1,"SubRequest":1,"index":0,"Value":[1,2,3]}]})";
    EXPECT_EQ(Lines({"1:2 warning overwritten"}),
              Check("[" + device + "," + device + "]", ConfigFile::HmdList));
}

TEST(FileCheck, WarnsOfTextThatASaveSpoils) {
    EXPECT_EQ(Lines({"1:7 warning save-hazard"}), Check(R"({"A":"\u00e9\u00e8"})"));
    EXPECT_EQ(Lines({"1:7 warning save-hazard"}), Check(R"({"A":"\u0008"})"));
    EXPECT_EQ(Lines({"1:7 warning save-hazard", "1:7 warning unsavable"}), Check(R"({"A":"\uD83D"})"));
}

TEST(FileCheck, RecognisesPathsWithSingleBackslashes) {
    EXPECT_EQ(Lines({"1:7 warning backslash"}), Check(R"({"A":"C:\new\table"})"));
    EXPECT_EQ(Lines({"1:7 warning backslash"}), Check(R"({"A":"\\server\share"})"));
    EXPECT_EQ(Lines({"1:7 error backslash"}), Check(R"({"A":"C:\new\"})"));
    EXPECT_EQ(Lines(), Check(R"({"A":"C:\\new"})"));
    EXPECT_EQ(Lines(), Check(R"({"A":"C:\u0041bc"})"));
    EXPECT_EQ(Lines({"1:7 warning backslash"}), Check(R"({"A":"C:\new\u0041bc"})"));
    EXPECT_EQ(Lines({"1:11 warning save-hazard"}), Check(R"({"A":"\\Zo\u00EB"})"));
}

TEST(FileCheck, KnowsTheKeysOfADocumentAndTheirLastParts) {
    EXPECT_EQ(KnownKeys({L"A", L"B", L"C", L"D.C", L"E"}),
              DefaultFile(ConfigFile::Settings, R"({"A":{"B":[{"E":1}]},"D.C":2})").keys);
    EXPECT_EQ(KnownKeys(), DefaultFile(ConfigFile::Settings, R"({"A":1)").keys);
}

TEST(FileCheck, PlacesEveryVariable) {
    const FileCheck check(ConfigFile::Settings, "{\"A\":1,\n\"CL\":[{\"HD\":\"X\"}]}", {});
    std::vector<std::string> places;
    for (const PlacedVariable& variable : check.Variables()) {
        const TextPosition position = check.Source().PositionOf(variable.node ? variable.node->Offset() : 0);
        const std::wstring_view name = VariableBatch::NameOf(variable.entry);
        places.push_back(
            std::string(name.begin(), name.end()) + ' ' +
            (variable.node ? std::to_string(position.line) + ':' + std::to_string(position.column) : "-"));
    }
    EXPECT_EQ(Lines({"A 1:2", "CL.X.HD 2:8", "HmdNameSize -", "HmdNameList.0 2:8"}), places);
}

TEST(FileCheck, StaysQuickOnDocumentsMadeToBeSlow) {
    std::string text = "{";
    for (int i = 0; i < 20000; ++i) {
        text += "\"a\":1 ";
    }
    text += '}';
    EXPECT_EQ(39998u, Check(text).size());
    const std::string deep = std::string(200000, '[') + std::string(200000, ']');
    EXPECT_EQ(Lines({"1:1 warning wrong-root"}), Check(deep));
}

} // namespace
} // namespace zq::test
