#include "tools/RunTool.h"

#include "support/win32/Folders.h"

#include <gtest/gtest.h>

#include <rapidjson/document.h>

#include <algorithm>

#include <windows.h>

namespace zq::test {
namespace {

constexpr const char* kFiveMistakes = "\xEF\xBB\xBF{\n"
                                      "  \"Name\": \"Caf\xC3\xA9\",\n"
                                      "  \"Size\": 1.5\n"
                                      "  \"List\": [1,],\n"
                                      "}\n";

class CheckCommand : public testing::Test {
protected:
    std::filesystem::path Write(const wchar_t* name, std::string_view bytes) const {
        WriteBytes(m_folder.Path() / name, bytes);
        return m_folder.Path() / name;
    }

    ToolRun Check(const std::filesystem::path& file, const std::wstring& options = L"") const {
        return RunTool(L"check " + options + L" \"" + file.wstring() + L'"');
    }

    // What was printed, with the file's name for its path.
    std::string Output(const ToolRun& run, const std::filesystem::path& file) const {
        std::string output = run.output;
        const std::string path = file.string();
        for (size_t offset = output.find(path); offset != std::string::npos; offset = output.find(path)) {
            output.replace(offset, path.size(), "FILE");
        }
        return output;
    }

    TempFolder m_folder;
};

TEST_F(CheckCommand, PrintsProblemsAsCompilersDo) {
    const auto file = Write(kSettingsName, kFiveMistakes);

    const ToolRun run = Check(file);

    EXPECT_EQ(1u, run.exitCode);
    EXPECT_EQ("", run.errors);
    EXPECT_EQ("FILE:1:1: error: the file begins with a byte order mark, three bytes that the module does not "
              "expect; save "
              "it as UTF-8 without a byte order mark\n"
              "  {\n"
              "  ^\n"
              "FILE:2:15: warning: \"\xC3\xA9\" is not ASCII: the module reads other characters or refuses "
              "the file, "
              "depending on the machine's code page; write \\u00E9\n"
              "    \"Name\": \"Caf\xC3\xA9\",\n"
              "                ^\n"
              "FILE:4:3: warning: missing comma before this; add one\n"
              "    \"List\": [1,],\n"
              "    ^\n"
              "FILE:4:11: warning: this array is skipped: of all arrays, only \"CL\", the list of headsets, "
              "is read; write "
              "its values as members with names\n"
              "    \"List\": [1,],\n"
              "            ^\n"
              "FILE:4:13: warning: trailing comma before closing bracket; remove it\n"
              "    \"List\": [1,],\n"
              "              ^\n"
              "FILE:4:15: warning: trailing comma before closing bracket; remove it\n"
              "    \"List\": [1,],\n"
              "                ^\n"
              "FILE:5:2: error: a line break follows the end of the document; remove it: the file must end "
              "with its last "
              "\"}\"\n"
              "  }\n"
              "   ^\n"
              "FILE: refused: the module would replace it with its default copy (2 errors, 5 warnings)\n",
              Output(run, file));
}

TEST_F(CheckCommand, AcceptsAGoodFileInOneLine) {
    const auto file = Write(kSettingsName, R"({"A":1})");

    const ToolRun run = Check(file);

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_EQ("FILE: accepted\n", Output(run, file));
}

TEST_F(CheckCommand, TakesAFolderForItsFiles) {
    Write(kSettingsName, R"({"Version":1})");
    Write(kHmdListName, "[]");
    Write(kQualityName, R"({"Version":2})");

    const ToolRun run = Check(m_folder.Path());

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_NE(std::string::npos, run.output.find("is written over by ZQ2_QualityPreset.json, line 1"))
        << run.output;
    EXPECT_EQ(1u, Check(m_folder.Path(), L"--strict").exitCode);
}

TEST_F(CheckCommand, NamesWhatAFolderLacksAndChecksTheOthers) {
    Write(kSettingsName, "{}");
    Write(kQualityName, "{}");

    const ToolRun run = Check(m_folder.Path());

    const std::string missing = (m_folder.Path() / kHmdListName).string();
    const std::string sentence =
        "the file " + missing + " does not exist; a server puts a copy of its default file there";
    EXPECT_EQ(2u, run.exitCode);
    EXPECT_EQ("zqsettings: " + sentence + ".\n", run.errors);
    EXPECT_EQ((m_folder.Path() / kSettingsName).string() + ": accepted\n" +
                  (m_folder.Path() / kQualityName).string() + ": accepted\n",
              run.output);
    const ToolRun json = Check(m_folder.Path(), L"--json");
    EXPECT_EQ(2u, json.exitCode);
    rapidjson::Document document;
    ASSERT_FALSE(document.Parse(json.output.c_str()).HasParseError()) << json.output;
    ASSERT_EQ(3u, document.Size());
    EXPECT_EQ(missing, document[2]["file"].GetString());
    EXPECT_FALSE(document[2]["accepted"].GetBool());
    EXPECT_EQ(sentence, document[2]["failure"].GetString());
}

TEST_F(CheckCommand, FixesTheOthersWhereOneCannotBeWritten) {
    const auto held = Write(kSettingsName, "{}\n");
    const auto free = Write(kQualityName, "{}\n");
    Write(kHmdListName, "[]");
    const auto isReadOnly = [&](bool isSo) {
        SetFileAttributesW(held.c_str(), isSo ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL);
    };
    isReadOnly(true);

    const ToolRun run = Check(m_folder.Path(), L"--in-place --json");
    isReadOnly(false);

    EXPECT_EQ(2u, run.exitCode);
    EXPECT_EQ("zqsettings: the file " + held.string() +
                  " cannot be replaced: Access denied (Windows error 5).\n",
              run.errors);
    EXPECT_EQ("{}\n", ReadBytes(held));
    EXPECT_EQ("{}", ReadBytes(free));
    EXPECT_FALSE(std::filesystem::exists(held.wstring() + L".bak"));
    rapidjson::Document document;
    ASSERT_FALSE(document.Parse(run.output.c_str()).HasParseError()) << run.output;
    EXPECT_TRUE(document[0].HasMember("failure")) << run.output;
    EXPECT_FALSE(document[2].HasMember("failure")) << run.output;
}

TEST_F(CheckCommand, SaysThatNothingCanBeSaved) {
    const auto file = Write(kSettingsName, R"({"A":True,})");

    const ToolRun run = Check(file);

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_TRUE(Output(run, file).ends_with(
        "FILE: accepted, with 2 warnings; nothing can be saved to it until it is JSON\n"))
        << run.output;
}

TEST_F(CheckCommand, FixesIntoACopyBeside) {
    const auto file = Write(kSettingsName, kFiveMistakes);

    const ToolRun run = Check(file, L"--fix");

    // The file itself is still refused.
    EXPECT_EQ(1u, run.exitCode);
    EXPECT_NE(std::string::npos,
              run.output.find(": byte order mark removed, 1 x comma added, 2 x trailing comma removed, "
                              "1 character rewritten as \\u escapes, 1 blank after the end removed\n"))
        << run.output;
    EXPECT_EQ(kFiveMistakes, ReadBytes(file));
    const auto fixed = m_folder.Path() / L"ZQ2_serverSetting.fixed.setting";
    EXPECT_EQ("{\n  \"Name\": \"Caf\\u00E9\",\n  \"Size\": 1.5,\n  \"List\": [1]\n}", ReadBytes(fixed));
    EXPECT_EQ(0u, Check(fixed).exitCode);
}

TEST_F(CheckCommand, NeverWritesOverAFixedCopyThatWasEdited) {
    const auto file = Write(kSettingsName, "{}\n");
    const auto fixed = m_folder.Path() / L"ZQ2_serverSetting.fixed.setting";
    Check(file, L"--fix");
    Check(file, L"--fix");
    EXPECT_EQ(2, std::distance(std::filesystem::directory_iterator(m_folder.Path()), {}));

    WriteBytes(fixed, R"({"Edited":true})");
    const ToolRun run = Check(file, L"--fix");

    EXPECT_EQ(R"({"Edited":true})", ReadBytes(fixed));
    EXPECT_EQ("{}", ReadBytes(m_folder.Path() / L"ZQ2_serverSetting.fixed2.setting"));
    EXPECT_NE(std::string::npos, run.output.find("fixed2.setting")) << run.output;
}

TEST_F(CheckCommand, FixesInPlaceAndKeepsEveryOldFile) {
    const auto file = Write(kSettingsName, "{}\n");
    const auto backup = m_folder.Path() / L"ZQ2_serverSetting.setting.bak";

    EXPECT_EQ(0u, Check(file, L"--in-place").exitCode);
    EXPECT_EQ("{}", ReadBytes(file));
    EXPECT_EQ("{}\n", ReadBytes(backup));

    WriteBytes(file, "{} ");
    EXPECT_EQ(0u, Check(file, L"--fix --in-place").exitCode);
    EXPECT_EQ("{}\n", ReadBytes(backup));
    EXPECT_EQ("{} ", ReadBytes(m_folder.Path() / L"ZQ2_serverSetting.setting.bak2"));

    const ToolRun run = Check(file, L"--in-place");
    EXPECT_EQ("FILE: accepted\nFILE: nothing to fix\n", Output(run, file));
}

TEST_F(CheckCommand, LooksAtAFixedFileAgainForItsExitCode) {
    const auto file = Write(kSettingsName, "{\"A\":[1]}\n");

    EXPECT_EQ(1u, Check(file, L"--in-place --strict").exitCode);
    EXPECT_EQ("{\"A\":[1]}", ReadBytes(file));
}

TEST_F(CheckCommand, DoesNotWriteThroughAFileThatWasPlanted) {
    const auto file = Write(kSettingsName, "{}\n");
    const auto planted = Write(L"ZQ2_serverSetting.setting.part", "planted");
    const auto backup = Write(L"ZQ2_serverSetting.setting.bak", "older");

    EXPECT_EQ(0u, Check(file, L"--in-place").exitCode);

    EXPECT_EQ("planted", ReadBytes(planted));
    EXPECT_EQ("older", ReadBytes(backup));
    EXPECT_EQ("{}\n", ReadBytes(m_folder.Path() / L"ZQ2_serverSetting.setting.bak2"));
    EXPECT_EQ(4, std::distance(std::filesystem::directory_iterator(m_folder.Path()), {}));
}

TEST_F(CheckCommand, DoesNotCallAFileWithWarningsFixed) {
    const auto file = Write(kSettingsName, "[{}]");

    const ToolRun run = Check(file, L"--fix");

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_TRUE(run.output.ends_with(": not fixed: only its author can correct the warnings above\n"))
        << run.output;
}

TEST_F(CheckCommand, LeavesWhatItCannotFix) {
    const auto file = Write(kSettingsName, "{\"A\":\n");

    const ToolRun run = Check(file, L"--fix");

    EXPECT_EQ(1u, run.exitCode);
    EXPECT_TRUE(run.output.ends_with(": not fixed: only its author can correct the errors above\n"));
    EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(m_folder.Path()), {}));
}

TEST_F(CheckCommand, TreatsWarningsAsErrorsWhenItIsStrict) {
    const auto file = Write(kSettingsName, R"([{"DHI":0}])");

    EXPECT_EQ(0u, Check(file).exitCode);
    const ToolRun run = Check(file, L"--strict");

    EXPECT_EQ(1u, run.exitCode);
    EXPECT_NE(std::string::npos,
              run.output.find("1:1: error: every setting is lost: the document must be an object"))
        << run.output;
}

TEST_F(CheckCommand, NamesAFileOfZeroBytesAndTheNewestKeptCopy) {
    const auto file = Write(kSettingsName, std::string(300, '\0'));
    const ToolRun without = Check(file);
    EXPECT_EQ(1u, without.exitCode);
    EXPECT_NE(std::string::npos,
              without.output.find("nothing but zero bytes; was it written when the machine lost "
                                  "power?; restore it from a copy"))
        << without.output;

    std::filesystem::create_directory(m_folder.Path() / L"kept");
    Write(L"kept\\ZQ2_serverSetting.setting.20261120T101500Z", "{}");
    Write(L"kept\\ZQ2_serverSetting.setting.20261121T101500Z", "{}");
    Write(L"kept\\ZQ2_HmdList.json.20261122T101500Z", "[]");
    const ToolRun run = Check(file);
    EXPECT_NE(std::string::npos, run.output.find("the newest copy that was kept is ")) << run.output;
    EXPECT_NE(std::string::npos, run.output.find("ZQ2_serverSetting.setting.20261121T101500Z")) << run.output;
}

TEST_F(CheckCommand, ComparesTypesWithTheDefaultFilesAndTheSchemas) {
    const auto file =
        Write(kSettingsName, R"({"Settings.CurrentBitrate":"90","CL":[{"HD":"MERIN5","Bitrate":true}]})");

    const ToolRun run = Check(file);

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_NE(
        std::string::npos,
        run.output.find("1:28: warning: Settings.CurrentBitrate: \"90\" is a text, but a whole number is "
                        "expected; write 90 without quotes"))
        << run.output;
    EXPECT_NE(std::string::npos,
              run.output.find("CL.MERIN5.Bitrate: true is a bool, but a whole number is expected"))
        << run.output;
}

TEST_F(CheckCommand, PrintsJson) {
    const auto file = Write(kSettingsName, "{\n\"A\":[1]}\n");

    const ToolRun run = Check(file, L"--json --fix");

    EXPECT_EQ(1u, run.exitCode);
    rapidjson::Document document;
    ASSERT_FALSE(document.Parse(run.output.c_str()).HasParseError()) << run.output;
    const auto& report = document[0];
    EXPECT_FALSE(report["accepted"].GetBool());
    EXPECT_FALSE(report["savable"].GetBool());
    EXPECT_TRUE(report["fixable"].GetBool());
    EXPECT_TRUE(std::string(report["written"].GetString()).ends_with(".fixed.setting"));
    ASSERT_EQ(2u, report["problems"].Size());
    EXPECT_STREQ("ignored-array", report["problems"][0]["code"].GetString());
    EXPECT_STREQ("warning", report["problems"][0]["severity"].GetString());
    EXPECT_EQ(2, report["problems"][0]["line"].GetInt());
    EXPECT_EQ(5, report["problems"][0]["column"].GetInt());
    EXPECT_STREQ("error", report["problems"][1]["severity"].GetString());
    EXPECT_STREQ("remove it: the file must end with its last \"}\"",
                 report["problems"][1]["fix"].GetString());
}

TEST_F(CheckCommand, CannotLookAtWhatIsMissingOrUnknown) {
    const ToolRun missing = Check(m_folder.Path() / L"nothing.json");
    EXPECT_EQ(2u, missing.exitCode);
    EXPECT_TRUE(missing.errors.ends_with("nothing.json does not exist.\n")) << missing.errors;

    const auto other = Write(L"other.json", "{}");
    const ToolRun unknown = Check(other);
    EXPECT_EQ(2u, unknown.exitCode);
    EXPECT_NE(std::string::npos, unknown.errors.find("--as settings")) << unknown.errors;
    EXPECT_EQ(0u, Check(other, L"--as settings").exitCode);
    EXPECT_EQ(1u, Check(other, L"--as hmd-list").exitCode);
    EXPECT_EQ(2u, Check(m_folder.Path()).exitCode);
    // No option, as it might be on Windows.
    EXPECT_EQ("zqsettings: the file /nothing.json does not exist.\n", Check(L"/nothing.json").errors);
}

TEST_F(CheckCommand, CutsALongListShort) {
    std::string text = "{";
    for (int i = 0; i < 60; ++i) {
        text += "\"a" + std::to_string(i) + "\":1 ";
    }
    const auto file = Write(kSettingsName, text + "}");

    const ToolRun some = Check(file);
    EXPECT_NE(std::string::npos, some.output.find(": 9 more problems; --all prints them\n")) << some.output;
    const ToolRun all = Check(file, L"--all --color always");
    EXPECT_EQ(59, std::count(all.output.begin(), all.output.end(), '^'));
    EXPECT_NE(std::string::npos, all.output.find("\x1B[1;35mwarning:\x1B[0m"));
}

TEST_F(CheckCommand, FindsMisspeltNamesByTheDefaultFiles) {
    const auto file = Write(kSettingsName, R"({"Settings":{"CurentBitrate":50}})");

    const ToolRun run = Check(file);

    EXPECT_EQ(0u, run.exitCode);
    EXPECT_NE(std::string::npos, run.output.find("did you mean \"CurrentBitrate\"?")) << run.output;
}

} // namespace
} // namespace zq::test
