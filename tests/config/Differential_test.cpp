// The module against the plain model of tests/support, on documents that are generated and then damaged.
#include "support/ConfigRun.h"
#include "support/DocumentGenerator.h"
#include "support/LongForm.h"
#include "support/ReferenceModel.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace zq::test {
namespace {

const int kDocuments = Long(2000, 700);

struct LoadTally {
    int loaded = 0;
    size_t variables = 0;
    size_t lines = 0;
};

// ZQ_SEED in the environment starts another series.
uint64_t FirstSeed() {
    const char* seed = std::getenv("ZQ_SEED");
    return seed ? std::strtoull(seed, nullptr, 10) : 20260;
}

LoadTally CompareAll(ConfigFile file, ReferenceFile referenceFile) {
    LoadTally tally;
    for (uint64_t seed = FirstSeed(), end = seed + static_cast<uint64_t>(kDocuments); seed != end; ++seed) {
        const std::string document = DocumentGenerator(seed).Document(file);
        const ConfigRun run = RunConfig(file, document);
        const ReferenceRun expected = RunReference(referenceFile, document);

        EXPECT_EQ(expected.isLoaded, run.isLoaded);
        EXPECT_EQ(expected.parseResult, run.parseResult);
        EXPECT_EQ(expected.variables, run.variables);
        EXPECT_EQ(expected.lines, run.lines);
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "seed " << seed << ", document:\n"
                          << Printable(std::wstring(document.begin(), document.end()));
            break;
        }
        tally.loaded += run.isLoaded ? 1 : 0;
        tally.variables += run.variables.Size();
        tally.lines += run.lines.size();
    }
    return tally;
}

// The series must be worth something: it loads and it refuses, it sets variables and it complains.
void ExpectUseful(const LoadTally& tally) {
    EXPECT_LT(kDocuments / 4, tally.loaded);
    EXPECT_GT(kDocuments * 9 / 10, tally.loaded);
    EXPECT_LT(static_cast<size_t>(kDocuments / 2), tally.variables);
    EXPECT_LT(static_cast<size_t>(kDocuments / 12), tally.lines);
}

TEST(Differential, SettingsMatchReferenceModel) {
    ExpectUseful(CompareAll(ConfigFile::Settings, ReferenceFile::Settings));
}

TEST(Differential, HmdListsMatchReferenceModel) {
    ExpectUseful(CompareAll(ConfigFile::HmdList, ReferenceFile::HmdList));
}

TEST(Differential, QualityPresetsMatchReferenceModel) {
    ExpectUseful(CompareAll(ConfigFile::Quality, ReferenceFile::Quality));
}

} // namespace
} // namespace zq::test
