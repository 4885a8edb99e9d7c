#include "check/Checking.h"
#include "check/Fix.h"
#include "support/ConfigRun.h"
#include "support/DocumentGenerator.h"
#include "support/LongForm.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

using namespace std::string_literals;

std::string Fixed(std::string_view bytes, ConfigFile file = ConfigFile::Settings) {
    const std::optional<FixedFile> fixed = FixFile(file, bytes);
    return fixed ? fixed->bytes : "(not to be fixed)";
}

TEST(Fix, LeavesAGoodFileAlone) {
    const std::optional<FixedFile> fixed = FixFile(ConfigFile::Settings, R"({"A":1})");
    ASSERT_TRUE(fixed);
    EXPECT_FALSE(fixed->isChanged);
    EXPECT_EQ(R"({"A":1})", fixed->bytes);
}

TEST(Fix, TakesTheMarkAndTrailingBlanksAway) {
    EXPECT_EQ(R"( {"A":1})", Fixed("\xEF\xBB\xBF {\"A\":1}\r\n\t "));
    EXPECT_EQ("{}", Fixed("{}\0\0\0"s));
    EXPECT_EQ("{}", Fixed("{}\n\0\0"s));
}

TEST(Fix, ReadsUtf16) {
    EXPECT_EQ(R"({"A":"\u20AC"})", Fixed("\xFF\xFE{\0\"\0A\0\"\0:\0\"\0\xAC\x20\"\0}\0\n\0"s));
    EXPECT_EQ("{}", Fixed("\0{\0}"s));
}

TEST(Fix, WritesCharactersBeyondAsciiAsEscapes) {
    EXPECT_EQ(R"({"Caf\u00E9":"\u20AC"})", Fixed("{\"Caf\xC3\xA9\":\"\xE2\x82\xAC\"}"));
    EXPECT_EQ(R"({"A":"\uD83D\uDE00"})", Fixed("{\"A\":\"\xF0\x9F\x98\x80\"}"));
    // Not UTF-8, so the code page of the machine.
    EXPECT_EQ(R"({"A":"\u00E9"})", Fixed("{\"A\":\"\xE9\"}"));
}

TEST(Fix, KeepsTheMeaningOfCharactersInsideEscapes) {
    EXPECT_EQ(R"({"A":"\\x"})", Fixed("{\"A\":\"\\\xC3\xA9x\"}"));
    EXPECT_EQ(R"({"A":"\u00g9"})", Fixed("{\"A\":\"\\u00\xC3\xA9"
                                         "9\"}"));
    EXPECT_EQ("{\"\\u00E9A\":1}", Fixed("{\xC3\xA9"
                                        "A\":1}"));
}

TEST(Fix, WritesZerosInTextsAsEscapes) {
    EXPECT_EQ(R"({"A":"x\u0000y"})", Fixed("{\"A\":\"x\0y\"}"s));
    // Raw, they would make the file look like UTF-16 the next time.
    EXPECT_EQ(R"(["\u0000\u0000"])", Fixed("[\"\0\0\"]"s, ConfigFile::HmdList));
    EXPECT_EQ(R"({"A":"\\x"})", Fixed("{\"A\":\"\\\0x\"}"s));
}

// Escapes after a drive, or after two backslashes, look like a path with single backslashes.
TEST(Fix, WritesNothingThatItWouldFixAgain) {
    EXPECT_EQ(R"({"A":"D:\u00E9t\u00E9"})", Fixed("{\"A\":\"D:\xC3\xA9t\xC3\xA9\"}"));
    EXPECT_EQ("(not to be fixed)", Fixed("{\"A\":\"\\\0ux\t\"}"s));
}

TEST(Fix, CountsWhatItDid) {
    const std::optional<FixedFile> fixed =
        FixFile(ConfigFile::Settings, "\xEF\xBB\xBF{\"A\":\"\xC3\xA9\xC3\xA8\"}\r\n\0"s);
    ASSERT_TRUE(fixed);
    EXPECT_TRUE(fixed->isChanged);
    EXPECT_EQ(Encoding::MarkedUtf8, fixed->encoding);
    EXPECT_EQ(2u, fixed->characters);
    EXPECT_EQ(2u, fixed->trailing);
    EXPECT_EQ(1u, fixed->zeroBytes);
}

TEST(Fix, LeavesTheRestToTheAuthor) {
    for (const char* text : {R"({"A":)", R"({"A":1.2.3})", R"({} x)", R"({"A":ture})", "", "5"}) {
        EXPECT_FALSE(FixFile(ConfigFile::Settings, text)) << text;
    }
    EXPECT_FALSE(FixFile(ConfigFile::HmdList, "{}\n"));
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

// Whether the author meant what the module reads.
bool IsReadAsMeant(const FixedFile& fixed) {
    const auto isLossless = [](const auto& problem) {
        const std::string_view code = problem.first;
        return code == "missing-comma" || code == "trailing-comma" || code == "odd-number" ||
               code == "literal-case" || code == "raw-control";
    };
    return std::all_of(fixed.problems.begin(), fixed.problems.end(), isLossless);
}

// The variables of a text as if each of its characters were one byte.
TypedVariables MeantVariables(ConfigFile file, const std::string& bytes) {
    const std::wstring text = MeantText(bytes);
    JsonRoot root;
    DocumentMap document;
    document.Read(root, text);
    VariableBatch batch;
    FlattenConfig(file, root, batch, HostLog());
    VariableMaps maps;
    maps.Apply(batch);
    return VariablesOf(maps);
}

struct FixTally {
    int accepted = 0;
    int fixed = 0;
};

void ExpectAgreement(ConfigFile file, const std::string& bytes, FixTally& tally) {
    const bool isLoaded = RunConfig(file, bytes).isLoaded;
    const FileCheck check(file, bytes, {});
    EXPECT_EQ(isLoaded, check.IsAccepted());
    const auto isError = [](const Problem& problem) { return problem.severity == Severity::Error; };
    EXPECT_EQ(!isLoaded, std::any_of(check.All().begin(), check.All().end(), isError));
    tally.accepted += isLoaded ? 1 : 0;

    const std::optional<FixedFile> fixed = FixFile(file, bytes);
    if (!fixed) {
        return;
    }
    ++tally.fixed;
    const ConfigRun run = RunConfig(file, fixed->bytes);
    EXPECT_TRUE(run.isLoaded);
    if (IsReadAsMeant(*fixed)) {
        EXPECT_EQ(MeantVariables(file, bytes), run.variables);
    }
    const std::optional<FixedFile> again = FixFile(file, fixed->bytes);
    ASSERT_TRUE(again);
    EXPECT_FALSE(again->isChanged);
    EXPECT_EQ(Encoding::Ascii, again->encoding);
}

TEST(Fix, AgreesWithTheModuleOnGeneratedDocuments) {
    const int documents = Long(700, 200);
    FixTally tally;
    for (const ConfigFile file : {ConfigFile::Settings, ConfigFile::HmdList, ConfigFile::Quality}) {
        for (uint64_t seed = 0; seed < static_cast<uint64_t>(documents); ++seed) {
            const std::string bytes = Disguised(DocumentGenerator(seed).Document(file), seed);
            ExpectAgreement(file, bytes, tally);
            ASSERT_FALSE(testing::Test::HasFailure())
                << "seed " << seed << ": " << Printable(std::wstring(bytes.begin(), bytes.end()));
        }
    }
    EXPECT_LT(documents / 4, tally.accepted);
    EXPECT_LT(documents, tally.fixed);
}

} // namespace
} // namespace zq::test
