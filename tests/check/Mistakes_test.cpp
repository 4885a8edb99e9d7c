// The mistakes that people make in the files, kept as files: each is found, and nearly all are fixed to what
// the author meant, which is the file of the same name in the folder "meant".
#include "check/FileCheck.h"
#include "check/Fix.h"
#include "support/ConfigRun.h"
#include "support/LongForm.h"
#include "support/Mistakes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

const fs::path kFolder = fs::path(ZQ_SOURCE_DIR) / "tests" / "mistakes";

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

ConfigFile FileOf(const fs::path& path) {
    const std::string name = path.filename().string();
    return name.starts_with("ZQ2_HmdList")         ? ConfigFile::HmdList
           : name.starts_with("ZQ2_QualityPreset") ? ConfigFile::Quality
                                                   : ConfigFile::Settings;
}

TEST(Mistakes, AreFoundEachOfThem) {
    size_t refused = 0;
    for (const fs::path& path : Mistakes()) {
        SCOPED_TRACE(path.filename().string());
        const FileCheck check(FileOf(path), ReadFile(path), {});
        EXPECT_FALSE(check.All().empty());
        EXPECT_FALSE(check.IsSavable());
        refused += check.IsAccepted() ? 0 : 1;
    }
    EXPECT_EQ(36u, Mistakes().size());
    EXPECT_LE(24u, refused);
}

// A mistake is one problem, or as many as the author made.
TEST(Mistakes, AreReportedOnce) {
    for (const fs::path& path : Mistakes()) {
        SCOPED_TRACE(path.filename().string());
        const FileCheck check(FileOf(path), ReadFile(path), {});
        const size_t wanted = path.filename().string().find("-quotes") != std::string::npos ||
                                      path.filename().string().find("line-comments") != std::string::npos
                                  ? 2
                                  : 1;
        EXPECT_GE(wanted, check.All().size()) << check.All().back().text;
    }
}

TEST(Mistakes, AreFixedToWhatTheAuthorMeant) {
    size_t fixed = 0;
    for (const fs::path& path : Mistakes()) {
        SCOPED_TRACE(path.filename().string());
        const ConfigFile file = FileOf(path);
        const std::optional<FixedFile> result = FixFile(file, ReadFile(path));
        if (!result) {
            continue;
        }
        ++fixed;
        const std::string meant = ReadFile(kFolder / "meant" / path.filename());
        ASSERT_FALSE(meant.empty());
        EXPECT_EQ(RunConfig(file, meant).variables, RunConfig(file, result->bytes).variables)
            << result->bytes;
        EXPECT_TRUE(FileCheck(file, result->bytes, {}).IsSavable()) << result->bytes;
    }
    EXPECT_LE(30u, fixed);
}

// One to three bytes of a default file are dropped, doubled or replaced by others that authors type.
std::string Mutated(std::string text, std::mt19937& random) {
    constexpr std::string_view kBytes = "{}[]\",:;'#/\\ \t\n.-+eEx07aZ=_<>\x80\xC3\xE2\xA0";
    for (auto i = 1 + random() % 3; i > 0; --i) {
        const size_t offset = random() % text.size();
        switch (random() % 3) {
        case 0:
            text.erase(offset, 1);
            break;
        case 1:
            text.insert(offset, 1, text[offset]);
            break;
        default:
            text[offset] = kBytes[random() % kBytes.size()];
            break;
        }
    }
    return text;
}

void ExpectSound(ConfigFile file, const std::string& bytes) {
    const FileCheck check(file, bytes, {});
    EXPECT_EQ(RunConfig(file, bytes).isLoaded, check.IsAccepted());
    const auto isError = [](const Problem& problem) { return problem.severity == Severity::Error; };
    EXPECT_EQ(!check.IsAccepted(), std::any_of(check.All().begin(), check.All().end(), isError));
    for (const Problem& problem : check.All()) {
        EXPECT_LE(0, problem.begin);
        EXPECT_LE(problem.begin, problem.end);
        EXPECT_LE(problem.end, check.Source().Length());
    }
    const std::optional<FixedFile> fixed = FixFile(file, bytes);
    if (!fixed) {
        return;
    }
    EXPECT_TRUE(RunConfig(file, fixed->bytes).isLoaded);
    const std::optional<FixedFile> again = FixFile(file, fixed->bytes);
    ASSERT_TRUE(again);
    EXPECT_FALSE(again->isChanged);
}

TEST(Mistakes, OfRandomEditsNoneMisleadsTheCheck) {
    const int edits = Long(1000, 250);
    const std::array<const char*, 3> names = {"ZQ2_serverSetting.setting", "ZQ2_HmdList.json",
                                              "ZQ2_QualityPreset.json"};
    std::mt19937 random(20);
    for (int i = 0; i < edits; ++i) {
        const fs::path path = fs::path(ZQ_SOURCE_DIR) / "defaults" / names[random() % names.size()];
        const std::string bytes = Mutated(ReadFile(path), random);
        ExpectSound(FileOf(path), bytes);
        ASSERT_FALSE(testing::Test::HasFailure()) << "edit " << i << ": " << bytes;
    }
}

} // namespace
} // namespace zq::test
