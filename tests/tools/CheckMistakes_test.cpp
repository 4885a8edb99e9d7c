// The mistakes of tests/mistakes/ as zqsettings sees them: docs/mistakes.md is what it says, and no run
// changes a byte that it was not asked to change. To write the document anew: ZQ_UPDATE_DOCS=1 and this test.
#include "tools/RunTool.h"

#include "support/LongForm.h"
#include "support/Mistakes.h"
#include "support/win32/Folders.h"

#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include <array>
#include <cstdlib>
#include <map>
#include <random>

namespace zq::test {
namespace {

namespace fs = std::filesystem;

const fs::path kSource = fs::path(ZQ_SOURCE_DIR);

std::string Slug(const fs::path& mistake) { return mistake.stem().extension().string().substr(1); }

using BytesByPath = std::map<fs::path, std::string>;

BytesByPath BytesBelow(const fs::path& folder) {
    BytesByPath bytes;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            bytes.emplace(entry.path(), ReadBytes(entry.path()));
        }
    }
    return bytes;
}

// Each mistake in a data folder of its own.
class CheckMistakes : public testing::Test {
protected:
    void Copy(const std::vector<fs::path>& mistakes) {
        for (const fs::path& mistake : mistakes) {
            const fs::path folder = m_folder.Path() / mistake.stem();
            fs::create_directory(folder);
            fs::copy_file(mistake, folder / RealName(mistake));
        }
    }

    ToolRun Check(const std::wstring& options) const {
        std::wstring line = L"check --json " + options;
        for (const auto& folder : fs::directory_iterator(m_folder.Path())) {
            line += L" \"" + folder.path().wstring() + L"\\*.*\"";
        }
        return RunTool(line);
    }

    TempFolder m_folder;
};

// By folder.
std::map<std::string, const rapidjson::Value*> ByFolder(const rapidjson::Document& document) {
    std::map<std::string, const rapidjson::Value*> results;
    for (const auto& file : document.GetArray()) {
        results.emplace(fs::path(file["file"].GetString()).parent_path().filename().string(), &file);
    }
    return results;
}

std::string Cell(std::string text) {
    for (size_t i = text.find('|'); i != std::string::npos; i = text.find('|', i + 2)) {
        text.insert(i, "\\");
    }
    return text;
}

std::string Row(const fs::path& mistake, const rapidjson::Value& result) {
    std::string row = "| " + Slug(mistake) + " | ";
    bool isFirst = true;
    for (const auto& problem : result["problems"].GetArray()) {
        row += isFirst ? "" : "<br>";
        row += std::to_string(problem["line"].GetInt()) + ':' + std::to_string(problem["column"].GetInt()) +
               ": " + problem["severity"].GetString() + ": " + Cell(problem["text"].GetString()) + "; " +
               Cell(problem["fix"].GetString());
        isFirst = false;
    }
    row += result["accepted"].GetBool() ? " | accepted, but nothing can be saved" : " | refused";
    return row + (result["fixable"].GetBool() ? " | yes |\n" : " | no |\n");
}

constexpr const char* kIntroduction = "# Mistakes in the configuration files\n"
                                      "\n"
                                      "What `zqsettings check` says of mistakes that people make when they "
                                      "edit the files, with line and column, whether the\n"
                                      "module accepts the file all the same, and whether `zqsettings check "
                                      "--fix` corrects it. The files are in\n"
                                      "`tests/mistakes`; a test writes this table.\n"
                                      "\n"
                                      "| mistake | message | the module | fixed |\n"
                                      "|---|---|---|---|\n";

TEST_F(CheckMistakes, AreDocumentedAsTheToolReportsThem) {
    Copy(Mistakes());

    const ToolRun run = Check(L"--fix");

    EXPECT_EQ(1u, run.exitCode);
    rapidjson::Document document;
    ASSERT_FALSE(document.Parse(run.output.c_str()).HasParseError()) << run.output << run.errors;
    const auto results = ByFolder(document);
    std::string table = kIntroduction;
    for (const fs::path& mistake : Mistakes()) {
        const auto result = results.find(mistake.stem().string());
        ASSERT_NE(results.end(), result) << mistake;
        table += Row(mistake, *result->second);
    }
    const fs::path guide = kSource / "docs" / "mistakes.md";
    if (std::getenv("ZQ_UPDATE_DOCS")) {
        WriteBytes(guide, table);
    }
    EXPECT_EQ(table, ReadBytes(guide));
}

TEST_F(CheckMistakes, StayAsTheyAreWhenChecked) {
    Copy(Mistakes());
    const BytesByPath before = BytesBelow(m_folder.Path());

    Check(L"");
    Check(L"--strict --all");

    EXPECT_EQ(before, BytesBelow(m_folder.Path()));
}

TEST_F(CheckMistakes, StayAsTheyAreBesideTheirFixedCopies) {
    Copy(Mistakes());
    const BytesByPath before = BytesBelow(m_folder.Path());

    Check(L"--fix");
    const BytesByPath after = BytesBelow(m_folder.Path());
    Check(L"--fix");

    EXPECT_LE(before.size() + 30, after.size());
    for (const auto& [path, bytes] : before) {
        EXPECT_EQ(bytes, after.at(path)) << path;
    }
    for (const auto& [path, bytes] : after) {
        EXPECT_TRUE(before.contains(path) || path.stem().extension() == L".fixed") << path;
    }
    EXPECT_EQ(after, BytesBelow(m_folder.Path())) << "a second run writes nothing new";
}

TEST_F(CheckMistakes, AreKeptWhenTheyAreFixedInPlace) {
    Copy(Mistakes());
    const BytesByPath before = BytesBelow(m_folder.Path());

    Check(L"--in-place");

    const BytesByPath after = BytesBelow(m_folder.Path());
    size_t fixed = 0;
    for (const auto& [path, bytes] : before) {
        const auto backup = after.find(path.native() + L".bak");
        EXPECT_EQ(bytes, backup == after.end() ? after.at(path) : backup->second) << path;
        fixed += backup == after.end() ? 0 : 1;
    }
    EXPECT_LE(30u, fixed);
    EXPECT_EQ(before.size() + fixed, after.size());
}

std::string WithBytesChanged(std::string text, std::mt19937& random) {
    constexpr std::string_view kBytes = "{}[]\",:;'#/\\ \t\n.-+eE07aZ=\x80\xC3\xE2";
    for (unsigned i = 1 + random() % 3; i > 0; --i) {
        text[random() % text.size()] = kBytes[random() % kBytes.size()];
    }
    return text;
}

TEST_F(CheckMistakes, OfRandomEditsNoByteChanges) {
    const int edits = Long(1000, 100);
    const std::array<const wchar_t*, 3> names = {kSettingsName, kHmdListName, kQualityName};
    const fs::path folder = m_folder.Path() / L"data";
    fs::create_directory(folder);
    std::mt19937 random(18);
    BytesByPath before;
    std::vector<std::wstring> lines(static_cast<size_t>(edits) / 50); // each as long as the system takes
    for (int i = 0; i < edits; ++i) {
        const fs::path name = names[random() % names.size()];
        const fs::path path =
            folder / (name.stem().wstring() + L'.' + std::to_wstring(i) + name.extension().wstring());
        before[path] = WithBytesChanged(ReadBytes(kSource / "defaults" / name), random);
        WriteBytes(path, before[path]);
        lines[static_cast<size_t>(i) % lines.size()] += L" \"" + path.wstring() + L'"';
    }

    for (const std::wstring& line : lines) {
        EXPECT_GE(1u, RunTool(L"check --json" + line).exitCode);
    }
    EXPECT_EQ(before, BytesBelow(folder));
    for (const std::wstring& line : lines) {
        EXPECT_GE(1u, RunTool(L"check --fix --json" + line).exitCode);
    }

    BytesByPath after = BytesBelow(folder);
    std::erase_if(after, [](const auto& file) { return file.first.stem().extension() == L".fixed"; });
    EXPECT_EQ(before, after);
}

} // namespace
} // namespace zq::test
