#include "support/ConfigRun.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace zq::test {
namespace {

// Whether nothing of the containers of a document is left once it has been read.
bool IsTaken(const std::string& document, ConfigRead read = &ConfigText::ReadInParts) {
    ConfigText config(ConfigFile::Settings);
    EXPECT_TRUE((config.*read)(document)) << document;
    for (const JsonMember& member : config.Root().Members()) {
        const bool isContainer = member.value.Is(JsonKind::Object) || member.value.Is(JsonKind::Array);
        if (isContainer && member.value.count != 0) {
            return false;
        }
    }
    return true;
}

// As RunConfig compares them.
void ExpectSameInParts(const std::string& document) {
    SCOPED_TRACE(document.substr(0, 2000));
    EXPECT_TRUE(RunConfig(ConfigFile::Settings, document).isLoaded);
}

void ExpectTaken(const std::string& document) {
    EXPECT_TRUE(IsTaken(document)) << document;
    ExpectSameInParts(document);
}

void ExpectReadAgain(const std::string& document) {
    EXPECT_FALSE(IsTaken(document)) << document;
    ExpectSameInParts(document);
}

TEST(SettingsInParts, ObjectsAndHeadersAreTaken) {
    ExpectTaken(R"({"A":{"B":1,"C":{"D":"text"}},"E":2,"F":{},"G":[1,{"H":2}]})");
    ExpectTaken(
        R"({"CL":[{"HD":"X","A":1,"B":{"C":2}},{"HD":""},{"HD":1},5,{"A":1},{"HD":"Y"}],"Z":{"A":1}})");
    ExpectTaken(R"({"A":{"B":1,"B":2},"CL":[]})");
    ExpectTaken(R"({"A":1,"A":{"B":1}})");
    ExpectTaken(R"({"HmdNameSize":7,"HmdNameList":{"0":"mine"},"CL":[{"HD":"X"}]})");
}

TEST(SettingsInParts, PathsThatMayMeetAreReadAgain) {
    ExpectReadAgain(R"({"A":{"B":1},"A.B":2})");
    ExpectReadAgain(R"({"A.B":{"C":1},"A":{"B":{"C":2}}})");
    ExpectReadAgain(R"({"A":{"B":{"C":1},"B.C":2}})");
    ExpectReadAgain(R"({"A":{"B\u002eC":1,"B":{"C":2}}})");
    ExpectReadAgain(R"({"CL":[{"HD":"X","A.B":1,"A":{"B":2}}]})");
}

TEST(SettingsInParts, KeysThatComeTwiceAreReadAgain) {
    ExpectReadAgain(R"({"A":{"B":1},"A":{"C":2}})");
    ExpectReadAgain(R"({"A":{"B":1},"D":{"E":1},"A":{"C":2}})");
    ExpectReadAgain(R"({"CL":{"X":{"A":1}},"CL":[{"HD":"X","B":1}]})");
    ExpectReadAgain(R"({"CL":[{"HD":"X","A":1}],"CL":[{"HD":"Y","B":1}]})");
    ExpectSameInParts(R"({"A":{"B":1},"A":2})");
    ExpectSameInParts(R"({"CL":[{"HD":"X"}],"CL":5})");
    ExpectSameInParts(R"({"CL":[{"HD":"X"}],"CL":[5]})");
}

TEST(SettingsInParts, HeaderNamesOfSeveralListsAreReadAgain) {
    ExpectReadAgain(R"({"cl":[{"HD":"X"}],"CL":[{"HD":"Y"}]})");
    ExpectReadAgain(R"({"A":{"CL":[{"HD":"X","B":1}]},"CL":[{"HD":"Y"}]})");
    ExpectReadAgain(R"({"CL":[{"HD":"X","cl":[{"HD":"Y","A":1}]}]})");
}

TEST(SettingsInParts, DocumentsOfOtherKindsAreLeftAsTheyAre) {
    for (const char* document : {"[{\"A\":1}]", "5 ", "{}", "[[{\"HD\":\"X\"}]]"}) {
        RunConfig(ConfigFile::Settings, document);
    }
    ConfigText config(ConfigFile::Settings);
    EXPECT_FALSE(config.ReadInParts(R"({"A":{"B":1},"C":)"));
    EXPECT_TRUE(config.ReadInParts(R"({"A":{"B":1}})"));
}

// A member that does not fit into one piece of memory stays in the tree.
TEST(SettingsInParts, LargeMembersAreLeft) {
    std::string document = R"({"Small":{"A":1},"Large":{)";
    for (int i = 0; i < 20'000; ++i) {
        document += "\"K" + std::to_string(i) + "\":" + std::to_string(i) + ',';
    }
    document += R"("Z":{"Y":1}},"Last":{"A":2}})";
    ExpectReadAgain(document);
}

TEST(SettingsInParts, ManyMembersOfEverySizeAreTaken) {
    std::string document = "{";
    for (int i = 0; i < 3000; ++i) {
        document += "\"G" + std::to_string(i) + "\":{\"A\":" + std::to_string(i) + ",\"T\":\"" +
                    std::string(static_cast<size_t>(i % 300), 't') + "\"},";
    }
    document += "\"CL\":[";
    for (int i = 0; i < 3000; ++i) {
        document += "{\"HD\":\"H" + std::to_string(i) + "\",\"B\":{\"C\":" + std::to_string(i) + "}},";
    }
    ExpectTaken(document + "]}");
}

TEST(SettingsInParts, OnlyALargeFileIsReadInParts) {
    const std::string small = R"({"A":{"B":1},"Text":")";
    const std::string large = small + std::string(size_t{256} * 1024, 't');
    EXPECT_FALSE(IsTaken(small + "\"}", &ConfigText::Read));
    EXPECT_TRUE(IsTaken(large + "\"}", &ConfigText::Read));
    EXPECT_FALSE(IsTaken(large + "\"}", &ConfigText::ReadTree));
}

// Documents of few keys, so that they meet in every way.
class SmallDocuments {
public:
    std::string Next() {
        m_text = "{";
        AddMembers(3);
        return m_text + "}";
    }

private:
    size_t Pick(size_t count) { return m_random() % count; }

    void AddMembers(int depth) {
        static const char* const kKeys[] = {"A", "B", "A.B", "CL", "cl", "HD", "", "B.A.B", "HmdNameList"};
        for (size_t left = Pick(5); left != 0; --left) {
            m_text += '"' + std::string(kKeys[Pick(Pick(3) == 0 ? 9 : 2)]) + "\":";
            AddValue(depth - 1);
            m_text += ',';
        }
    }

    void AddValue(int depth) {
        switch (Pick(depth > 0 ? 5 : 2)) {
        case 0:
            m_text += std::to_string(Pick(100));
            break;
        case 1:
            m_text += Pick(2) == 0 ? "\"X\"" : "\"Y.Z\"";
            break;
        case 2:
            m_text += '[';
            for (size_t left = Pick(4); left != 0; --left) {
                m_text += Pick(2) == 0 ? "{\"HD\":\"X\"," : "{";
                AddMembers(depth);
                m_text += "},";
            }
            m_text += ']';
            break;
        default:
            m_text += '{';
            AddMembers(depth);
            m_text += '}';
        }
    }

    std::mt19937_64 m_random{33};
    std::string m_text;
};

TEST(SettingsInParts, AgreeWithTheTreeOnDocumentsOfFewKeys) {
    SmallDocuments documents;
    int taken = 0;
    for (int i = 0; i < 4000 && !testing::Test::HasFailure(); ++i) {
        const std::string document = documents.Next();
        taken += IsTaken(document) ? 1 : 0;
        ExpectSameInParts(document);
    }
    EXPECT_LT(500, taken);
    EXPECT_GT(3900, taken);
}

} // namespace
} // namespace zq::test
