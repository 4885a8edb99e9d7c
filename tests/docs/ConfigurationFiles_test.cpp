// What docs/configuration-files.md says that the module reads: each of its documents gives the variables that
// are listed next to it. The table of refusals is checked by docs_test.sh, with the tool that it recommends.
#include "support/ConfigRun.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace zq::test {
namespace {

constexpr const wchar_t* kReported = L"Invalid Quality Preset item : ";

struct Example {
    ConfigFile file;
    std::string text;
    TypedVariables variables;
    std::vector<std::wstring> messages;
};

// Every settings file sets the number of headsets.
TypedVariables Settings(TypedVariables variables) { return variables.Int64(L"HmdNameSize", 0); }

std::vector<Example> Examples() {
    const auto settings = ConfigFile::Settings;
    return {
        {settings, R"({"A":1 "B":2})", Settings(TypedVariables().Number(L"A", 1).Number(L"B", 2)), {}},
        {settings, R"([TRUE,False,nULL])", {}, {}},
        {settings, R"({"A":1,"A":2})", Settings(TypedVariables().Number(L"A", 2)), {}},
        {settings, R"({"A":-})", Settings(TypedVariables().Number(L"A", 0)), {}},
        {settings, R"({"":1})", Settings({}), {}},
        {settings, R"({"A":null})", Settings({}), {}},
        {settings,
         R"({"Settings":{"ServerName":"Lumo"}})",
         Settings(TypedVariables().String(L"Settings.ServerName", L"Lumo")),
         {}},
        {settings,
         R"({"CL":[{"HD":"MERIN5","Bitrate":40}]})",
         TypedVariables()
             .String(L"CL.MERIN5.HD", L"MERIN5")
             .Number(L"CL.MERIN5.Bitrate", 40)
             .String(L"HmdNameList.0", L"MERIN5")
             .Int64(L"HmdNameSize", 1),
         {L"Set variable STRING HmdNameList.0 = MERIN5"}},
        {ConfigFile::HmdList,
         R"([{"DeviceName":"MERIN5","Response":[{"MainRequest":3,"SubRequest":1,"index":0,"Value":[20,40]}]}])",
         TypedVariables()
             .Int64(L"CL.MERIN5.3.1.0.ArraySize", 2)
             .Number(L"CL.MERIN5.3.1.0.0", 20)
             .Number(L"CL.MERIN5.3.1.0.1", 40),
         {}},
        {ConfigFile::Quality,
         R"({"MERIN5":[{"Bitrate":70},{"Bitrate":50},{"Bitrate":30},{"Bitrate":100}]})",
         TypedVariables()
             .Number(L"CL.MERIN5.Quality.Bitrate", 70)
             .Number(L"CL.MERIN5.Balance.Bitrate", 50)
             .Number(L"CL.MERIN5.Performance.Bitrate", 30)
             .Number(L"CL.MERIN5.Ultra.Bitrate", 100),
         {}},
        {ConfigFile::Quality, R"({"MERIN5":{"Bitrate":70}})", {}, {kReported}},
    };
}

std::string Guide() {
    std::ifstream in(std::string(ZQ_SOURCE_DIR) + "/docs/configuration-files.md", std::ios::binary);
    std::string guide{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    return guide.substr(guide.find("## What the module reads differently"));
}

// The code spans that are whole documents.
std::set<std::string> DocumentsOf(const std::string& guide) {
    std::set<std::string> documents;
    const std::string text = guide.substr(0, guide.find("## How to save"));
    for (size_t begin = text.find('`'); begin != std::string::npos;) {
        const size_t end = text.find('`', begin + 1);
        const std::string span = text.substr(begin + 1, end - begin - 1);
        if (span.starts_with('{') || span.starts_with('[')) {
            documents.insert(span);
        }
        begin = text.find('`', end + 1);
    }
    return documents;
}

TEST(ConfigurationFilesGuide, EveryDocumentInItIsTestedHere) {
    std::set<std::string> tried;
    for (const Example& example : Examples()) {
        tried.insert(example.text);
    }
    EXPECT_EQ(DocumentsOf(Guide()), tried);
}

TEST(ConfigurationFilesGuide, DocumentsGiveTheVariablesThatItNames) {
    for (const Example& example : Examples()) {
        SCOPED_TRACE(example.text);
        const ConfigRun run = RunConfig(example.file, example.text);
        EXPECT_TRUE(run.isLoaded);
        EXPECT_EQ(example.variables, run.variables);
        std::vector<std::wstring> messages;
        for (const LogLine& line : run.lines) {
            messages.push_back(line.text);
        }
        EXPECT_EQ(example.messages, messages);
    }
}

TEST(ConfigurationFilesGuide, ValuesAreReadAsItsTableSays) {
    const std::string guide = Guide();
    const auto read = [&](const std::string& value) {
        EXPECT_NE(std::string::npos, guide.find("| `" + value + "` |")) << value;
        return RunConfig(ConfigFile::Settings, "{\"A\":" + value + "}").variables;
    };
    EXPECT_EQ(Settings(TypedVariables().Number(L"A", INT64_MAX)), read("9223372036854775808"));
    EXPECT_EQ(Settings(TypedVariables().String(L"A", L"x\\y")), read(R"("x\by")"));
    EXPECT_EQ(Settings(TypedVariables().String(L"A", L"a\\b")), read(R"("a\\b")"));
}

TEST(ConfigurationFilesGuide, SaysWhatIsReportedAndSkipped) {
    const ConfigRun null = RunConfig(ConfigFile::Quality, R"({"A":null})");
    EXPECT_TRUE(null.isLoaded);
    EXPECT_EQ(1u, null.lines.size());
    const ConfigRun point = RunConfig(
        ConfigFile::HmdList,
        R"([{"DeviceName":"A","Response":[{"MainRequest":3,"SubRequest":1,"index":3.0,"Value":1}]}])");
    EXPECT_TRUE(point.isLoaded);
    EXPECT_EQ(TypedVariables(), point.variables);
    EXPECT_EQ(1u, point.lines.size());
}

} // namespace
} // namespace zq::test
