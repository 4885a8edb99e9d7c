// The kept documents of tests/corpus through all three loads. What the module does with each is written down
// in expected.txt, which was made by the plain model of the tests and looked through; ZQ_WRITE_EXPECTED in
// the environment names a file to write the model's answers to anew.
#include "support/ConfigRun.h"
#include "support/ReferenceModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

fs::path Corpus() { return fs::path(ZQ_SOURCE_DIR) / "tests" / "corpus"; }

std::string ReadBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// By name, as in expected.txt: "kind/file".
std::map<std::string, std::string> Documents() {
    std::map<std::string, std::string> documents;
    for (const auto& entry : fs::recursive_directory_iterator(Corpus())) {
        if (entry.path().extension() == ".json") {
            documents[entry.path().parent_path().filename().string() + '/' +
                      entry.path().filename().string()] = ReadBytes(entry.path());
        }
    }
    return documents;
}

// The same for both models: verdict, count, messages, variables.
template <class Run>
std::string Told(const Run& run) {
    std::ostringstream out;
    out << (run.isLoaded ? "accepted " : "refused ") << run.parseResult;
    for (const LogLine& line : run.lines) {
        out << "\n  message " << line.level << ' ' << Printable(line.text);
    }
    out.precision(17);
    PrintTo(run.variables, &out);
    out << '\n';
    return out.str();
}

template <class ToldBy>
std::string Answers(const std::string& bytes, ToldBy told) {
    std::string answers;
    int file = 0;
    for (const char* name : {"settings", "headset list", "quality"}) {
        answers += std::string(name) + ": " + told(file++, bytes);
    }
    return answers;
}

std::string ModuleAnswers(const std::string& bytes) {
    return Answers(bytes, [](int file, const std::string& document) {
        return Told(RunConfig(static_cast<ConfigFile>(file), document));
    });
}

std::string ModelAnswers(const std::string& bytes) {
    return Answers(bytes, [](int file, const std::string& document) {
        return Told(RunReference(static_cast<ReferenceFile>(file), document));
    });
}

// Blocks that begin with "== kind/file".
std::map<std::string, std::string> Expected() {
    std::map<std::string, std::string> expected;
    std::ifstream in(Corpus() / "expected.txt", std::ios::binary);
    std::string line;
    std::string* block = nullptr;
    while (std::getline(in, line)) {
        if (line.starts_with("== ")) {
            block = &expected[line.substr(3)];
        } else if (block) {
            *block += line + '\n';
        }
    }
    return expected;
}

TEST(Corpus, MatchesRecordedResults) {
    const auto documents = Documents();
    const auto expected = Expected();

    EXPECT_LE(300u, documents.size());
    for (const auto& [name, bytes] : documents) {
        const auto found = expected.find(name);
        ASSERT_NE(expected.end(), found) << name << " is not in expected.txt";
        EXPECT_EQ(found->second, ModuleAnswers(bytes)) << name;
    }
    for (const auto& [name, answers] : expected) {
        EXPECT_TRUE(documents.contains(name)) << name << " is in expected.txt alone";
    }
}

TEST(Corpus, MatchesReferenceModel) {
    const char* output = std::getenv("ZQ_WRITE_EXPECTED");
    std::ofstream out;
    if (output) {
        out.open(output, std::ios::binary);
    }
    for (const auto& [name, bytes] : Documents()) {
        const std::string answers = ModelAnswers(bytes);
        if (output) {
            out << "== " << name << '\n' << answers;
        }
        EXPECT_EQ(answers, ModuleAnswers(bytes)) << name;
    }
}

} // namespace
} // namespace zq::test
