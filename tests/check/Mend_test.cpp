#include "check/Checking.h"
#include "check/Mend.h"
#include "support/ConfigRun.h"
#include "support/DocumentGenerator.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

using namespace std::string_literals;

std::string Mended(std::string_view bytes, ConfigFile file = ConfigFile::Settings) {
    const std::optional<MendedFile> mended = MendFile(file, bytes);
    return mended ? mended->bytes : "(not to be mended)";
}

TEST(Mend, LeavesAGoodFileAlone) {
    const std::optional<MendedFile> mended = MendFile(ConfigFile::Settings, R"({"A":1})");
    ASSERT_TRUE(mended);
    EXPECT_FALSE(mended->isChanged);
    EXPECT_EQ(R"({"A":1})", mended->bytes);
}

TEST(Mend, TakesTheMarkAndTrailingBlanksAway) {
    EXPECT_EQ(R"( {"A":1})", Mended("\xEF\xBB\xBF {\"A\":1}\r\n\t "));
    EXPECT_EQ("{}", Mended("{}\0\0\0"s));
    EXPECT_EQ("{}", Mended("{}\n\0\0"s));
}

TEST(Mend, ReadsUtf16) {
    EXPECT_EQ(R"({"A":"\u20AC"})", Mended("\xFF\xFE{\0\"\0A\0\"\0:\0\"\0\xAC\x20\"\0}\0\n\0"s));
    EXPECT_EQ("{}", Mended("\0{\0}"s));
}

TEST(Mend, WritesCharactersBeyondAsciiAsEscapes) {
    EXPECT_EQ(R"({"Caf\u00E9":"\u20AC"})", Mended("{\"Caf\xC3\xA9\":\"\xE2\x82\xAC\"}"));
    EXPECT_EQ(R"({"A":"\uD83D\uDE00"})", Mended("{\"A\":\"\xF0\x9F\x98\x80\"}"));
    // Not UTF-8, so the code page of the machine.
    EXPECT_EQ(R"({"A":"\u00E9"})", Mended("{\"A\":\"\xE9\"}"));
}

TEST(Mend, KeepsTheMeaningOfCharactersInsideEscapes) {
    EXPECT_EQ(R"({"A":"\\x"})", Mended("{\"A\":\"\\\xC3\xA9x\"}"));
    EXPECT_EQ(R"({"A":"\u00g9"})", Mended("{\"A\":\"\\u00\xC3\xA9"
                                          "9\"}"));
    EXPECT_EQ("{\"A\":1}", Mended("{\xC3\xA9"
                                  "A\":1}"));
}

TEST(Mend, WritesZerosInTextsAsEscapes) {
    EXPECT_EQ(R"({"A":"x\u0000y"})", Mended("{\"A\":\"x\0y\"}"s));
    // Raw, they would make the file look like UTF-16 the next time.
    EXPECT_EQ(R"(["\u0000\u0000"])", Mended("[\"\0\0\"]"s, ConfigFile::HmdList));
    EXPECT_EQ(R"({"A":"\\x"})", Mended("{\"A\":\"\\\0x\"}"s));
}

TEST(Mend, CountsWhatItDid) {
    const std::optional<MendedFile> mended =
        MendFile(ConfigFile::Settings, "\xEF\xBB\xBF{\"A\":\"\xC3\xA9\xC3\xA8\"}\r\n\0"s);
    ASSERT_TRUE(mended);
    EXPECT_TRUE(mended->isChanged);
    EXPECT_EQ(Encoding::MarkedUtf8, mended->encoding);
    EXPECT_EQ(2u, mended->characters);
    EXPECT_EQ(2u, mended->trailing);
    EXPECT_EQ(1u, mended->zeroBytes);
}

TEST(Mend, LeavesTheRestToTheAuthor) {
    for (const char* text : {R"({"A":1)", R"({"A":1.2.3})", R"({} x)", R"({}})", "", "5"}) {
        EXPECT_FALSE(MendFile(ConfigFile::Settings, text)) << text;
    }
    EXPECT_FALSE(MendFile(ConfigFile::HmdList, "{}\n"));
}

// Behind most opening quotes; an escaped one may mislead it.
std::vector<size_t> PlacesInTexts(const std::string& document) {
    std::vector<size_t> places;
    bool isOpening = true;
    for (size_t i = 0; i < document.size(); ++i) {
        if (document[i] == '"') {
            if (isOpening) {
                places.push_back(i + 1);
            }
            isOpening = !isOpening;
        }
    }
    return places;
}

// What editors, shells and power cuts leave behind.
std::string Disguised(std::string document, uint64_t seed) {
    static constexpr std::string_view kCharacters[] = {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
                                                       "\xE9"};
    std::mt19937_64 random(seed);
    for (uint64_t i = random() % 4; i > 1; --i) {
        const std::vector<size_t> places = PlacesInTexts(document);
        if (!places.empty()) {
            document.insert(places[random() % places.size()], kCharacters[random() % 4]);
        }
    }
    switch (random() % 6) {
    case 0:
        return document + "\r\n";
    case 1:
        return document + std::string(1 + random() % 5, '\0');
    case 2:
        return "\xEF\xBB\xBF" + document;
    case 3: {
        std::string wide = "\xFF\xFE";
        for (const char byte : document) {
            (wide += byte) += '\0';
        }
        return wide;
    }
    default:
        return document;
    }
}

std::wstring MeantText(const std::string& bytes) {
    const SourceText source(bytes);
    return source.Text();
}

// The variables of a text as if each of its characters were one byte.
TypedVariables MeantVariables(ConfigFile file, const std::string& bytes) {
    const std::wstring text = MeantText(bytes);
    JsonRoot root;
    DocumentMap document;
    document.Read(root, text);
    VariableBatch batch;
    FlattenConfig(file, root, batch, HostLog());
    VariableMaps maps(1);
    maps.Apply(batch);
    return VariablesOf(maps);
}

struct Tally {
    int accepted = 0;
    int mended = 0;
};

void ExpectAgreement(ConfigFile file, const std::string& bytes, Tally& tally) {
    const bool isLoaded = RunConfig(file, bytes).isLoaded;
    const FileCheck check(file, bytes, {});
    EXPECT_EQ(isLoaded, check.IsAccepted());
    const auto isError = [](const Problem& problem) { return problem.severity == Severity::Error; };
    EXPECT_EQ(!isLoaded, std::any_of(check.All().begin(), check.All().end(), isError));
    tally.accepted += isLoaded ? 1 : 0;

    const std::optional<MendedFile> mended = MendFile(file, bytes);
    if (!mended) {
        return;
    }
    ++tally.mended;
    const ConfigRun run = RunConfig(file, mended->bytes);
    EXPECT_TRUE(run.isLoaded);
    EXPECT_EQ(MeantVariables(file, bytes), run.variables);
    const std::optional<MendedFile> again = MendFile(file, mended->bytes);
    ASSERT_TRUE(again);
    EXPECT_FALSE(again->isChanged);
    EXPECT_EQ(Encoding::Ascii, again->encoding);
}

TEST(Mend, AgreesWithTheModuleOnGeneratedDocuments) {
    constexpr uint64_t kDocuments = 700;
    Tally tally;
    for (const ConfigFile file : {ConfigFile::Settings, ConfigFile::HmdList, ConfigFile::Quality}) {
        for (uint64_t seed = 0; seed < kDocuments; ++seed) {
            const std::string bytes = Disguised(DocumentGenerator(seed).Document(file), seed);
            ExpectAgreement(file, bytes, tally);
            ASSERT_FALSE(testing::Test::HasFailure())
                << "seed " << seed << ": " << Printable(std::wstring(bytes.begin(), bytes.end()));
        }
    }
    EXPECT_LT(200, tally.accepted);
    EXPECT_LT(600, tally.mended);
}

} // namespace
} // namespace zq::test
