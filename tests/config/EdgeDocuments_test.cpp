// Documents beyond the sizes at which a flattener or the tree could change its ways, and names at the edges
// of what a host can read.
#include "config/Flattening.h"
#include "config/HeadsetListFile.h"
#include "config/QualityPresetFile.h"
#include "config/SettingsFile.h"
#include "config/json/JsonReader.h"
#include "support/ConfigRun.h"

#include <gtest/gtest.h>

#include <string>

namespace zq::test {
namespace {

using namespace std::string_literals;

ConfigRun LoadItem(const std::string& device, const std::string& value) {
    return RunConfig(ConfigFile::HmdList,
                     R"([{"DeviceName":")" + device +
                         R"(","Response":[{"MainRequest":1,"SubRequest":2,"index":3,"Value":)" + value +
                         "}]}]");
}

TEST(EdgeDocuments, ArraysOfMoreElementsThanAByteCountsAreNamedToTheirEnd) {
    for (const int count : {127, 128, 129, 255, 256, 257, 1000}) {
        TypedVariables expected;
        expected.Int64(L"CL.A.1.2.3.ArraySize", count);
        std::string values;
        for (int i = 0; i < count; ++i) {
            expected.Number(L"CL.A.1.2.3." + std::to_wstring(i), i);
            values += (i == 0 ? "[" : ",") + std::to_string(i);
        }

        EXPECT_EQ(expected, LoadItem("A", values + "]").variables) << count;
    }
}

TEST(EdgeDocuments, MoreThanTenHeadsetsAreNamedByDecimalNumbers) {
    constexpr int kHeadsets = 12;
    TypedVariables expected;
    expected.Int64(L"HmdNameSize", kHeadsets);
    std::string headers;
    for (int i = 0; i < kHeadsets; ++i) {
        const std::string name = "H" + std::to_string(i);
        const std::wstring wide(name.begin(), name.end());
        expected.String(L"HmdNameList." + std::to_wstring(i), wide).String(L"CL." + wide + L".HD", wide);
        headers += (i == 0 ? "" : ",") + (R"({"HD":")" + name + R"("})");
    }

    const ConfigRun run = RunConfig(ConfigFile::Settings, R"({"CL":[)" + headers + "]}");

    EXPECT_EQ(expected, run.variables);
    ASSERT_EQ(static_cast<size_t>(kHeadsets), run.lines.size());
    EXPECT_EQ((LogLine{2, L"Set variable STRING HmdNameList.10 = H10"}), run.lines[10]);
}

TEST(EdgeDocuments, TheLastOfEqualKeysWinsAmongManyMembers) {
    for (const int members : {31, 32, 33, 64, 200}) {
        TypedVariables expected;
        expected.Int64(L"HmdNameSize", 0);
        std::string document = "{";
        // Falling keys, so that the members are sorted; each key three times.
        for (int round = 0; round < 3; ++round) {
            for (int i = members; i > 0; --i) {
                document += "\"K" + std::to_string(1000 + i) + "\":" + std::to_string(round * 1000 + i) + ",";
            }
        }
        for (int i = 1; i <= members; ++i) {
            expected.Number(L"K" + std::to_wstring(1000 + i), 2000 + i);
        }
        document.back() = '}';

        EXPECT_EQ(expected, RunConfig(ConfigFile::Settings, document).variables) << members;
    }
}

TEST(EdgeDocuments, KeysAreOrderedByUnitsNotByCodePoints) {
    // A pair of surrogates is a code point above U+FFFD, and its first unit is below it.
    const std::wstring_view text = L"{\"\\uFFFD\":1,\"\\uD83D\\uDE00\":2,\"\\uDFFF\":3,\"\\uD800\":4}";
    JsonRoot root;
    ASSERT_EQ(static_cast<int32_t>(text.size()),
              ParseJsonValue(root, text.data(), static_cast<int32_t>(text.size())));

    std::vector<int64_t> order;
    for (const JsonMember& member : root.Members()) {
        order.push_back(member.value.integer);
    }
    EXPECT_EQ((std::vector<int64_t>{4, 2, 3, 1}), order);
}

TEST(EdgeDocuments, ADevicesNameEndsAtAZeroCharacter) {
    const ConfigRun run = LoadItem("A\\u0000B", "[7,null]");

    EXPECT_EQ(TypedVariables().Int64(L"CL.A.1.2.3.ArraySize", 2).Number(L"CL.A.1.2.3.0", 7), run.variables);
    EXPECT_EQ((std::vector<LogLine>{{4, L"Invalid hmd list item : CL.A.1.2.3.1"}}), run.lines);
}

TEST(EdgeDocuments, ALongNameOfADeviceEndsAtAZeroCharacterToo) {
    // Long enough for its variables to share it.
    const std::string device(500, 'd');

    const ConfigRun run = LoadItem(device + "\\u0000B", "7");

    EXPECT_EQ(TypedVariables().Number(L"CL." + std::wstring(500, L'd') + L".1.2.3", 7), run.variables);
}

class Walkers : public testing::Test {
protected:
    const JsonValue& Parse(std::wstring_view text) {
        EXPECT_EQ(static_cast<int32_t>(text.size()),
                  ParseJsonValue(m_root, text.data(), static_cast<int32_t>(text.size())));
        return m_root;
    }
    TypedVariables Variables() {
        VariableMaps maps;
        maps.Apply(m_batch);
        return VariablesOf(maps);
    }

    JsonRoot m_root;
    VariableBatch m_batch{VariableBatch::Names::SharePrefixes};
    HostLog m_log;
};

TEST_F(Walkers, SettingsBelowAPrefixAreNamedWithIt) {
    FlattenSettingsObject(L"Given", Parse(LR"({"A":1,"B":{"C":true},"CL":[{"HD":"X","D":"d"}]})"), m_batch,
                          m_log, nullptr);

    EXPECT_EQ(TypedVariables()
                  .Number(L"Given.A", 1)
                  .Bool(L"Given.B.C", 1)
                  .String(L"Given.CL.X.HD", L"X")
                  .String(L"Given.CL.X.D", L"d")
                  .String(L"HmdNameList.0", L"X")
                  .Int64(L"HmdNameSize", 1),
              Variables());
}

TEST_F(Walkers, PresetsBelowAPrefixDropIt) {
    FlattenQualityObject(L"Given", Parse(LR"({"A":1,"B":[{"C":2}]})"), m_batch, m_log, nullptr);

    EXPECT_EQ(TypedVariables().Number(L"Given.A", 1).Number(L"CL.B.Quality.C", 2), Variables());
}

} // namespace
} // namespace zq::test
