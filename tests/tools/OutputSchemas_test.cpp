// Every form of --json against its schema in schemas/output/.
#include "tools/FolderOptions.h"
#include "tools/RunTool.h"

#include "support/Mistakes.h"
#include "support/win32/Folders.h"

#include <gtest/gtest.h>

#include <rapidjson/document.h>
#include <rapidjson/schema.h>
#include <rapidjson/stringbuffer.h>

#include <set>
#include <sstream>

namespace zq::test {
namespace {

class OutputSchemas : public testing::Test {
protected:
    OutputSchemas() {
        WriteBytes(m_folders.Default(kSettingsName), R"({"Level":1,"Name":"a"})");
        WriteBytes(m_folders.Private(kSettingsName),
                   "{\"Level\":5,\n\"Level\":7,\"Scale\":1.5,\"A\":{\"B\":false}}");
        WriteBytes(m_folders.Private(kHmdListName), ReadBytes(m_folders.Default(kHmdListName)));
        WriteBytes(m_folders.Private(kQualityName), R"({"Level":9.5})");
    }

    ToolRun Run(const std::wstring& arguments) const { return RunTool(arguments + FolderOptions(m_folders)); }

    // Readers ignore what they do not know; here each member that is printed has to be described.
    static void ForbidOtherMembers(rapidjson::Value& schema) {
        if (schema.IsArray()) {
            for (rapidjson::Value& element : schema.GetArray()) {
                ForbidOtherMembers(element);
            }
        } else if (schema.IsObject()) {
            for (auto& [name, value] : schema.GetObject()) {
                if (name == "additionalProperties" && value.IsTrue()) {
                    value.SetBool(false);
                }
                ForbidOtherMembers(value);
            }
        }
    }

    static testing::AssertionResult IsValid(const std::string& json, const char* name) {
        rapidjson::Document schema;
        const std::string text = ReadBytes(std::filesystem::path(ZQ_SOURCE_DIR) / "schemas" / "output" /
                                           (std::string(name) + ".schema.json"));
        if (schema.Parse(text.c_str()).HasParseError()) {
            return testing::AssertionFailure() << name << " is no JSON";
        }
        ForbidOtherMembers(schema);
        rapidjson::Document document;
        if (document.Parse(json.c_str()).HasParseError()) {
            return testing::AssertionFailure() << "no JSON: " << json;
        }
        const rapidjson::SchemaDocument compiled(schema);
        rapidjson::SchemaValidator validator(compiled);
        if (document.Accept(validator)) {
            return testing::AssertionSuccess();
        }
        rapidjson::StringBuffer at;
        validator.GetInvalidDocumentPointer().Stringify(at);
        return testing::AssertionFailure() << name << ": " << validator.GetInvalidSchemaKeyword() << " at "
                                           << at.GetString() << " of " << json;
    }

    static void ExpectValid(const std::string& json, const char* name) { EXPECT_TRUE(IsValid(json, name)); }

    ModuleFolders m_folders;
};

TEST_F(OutputSchemas, DescribeTheVariables) {
    const std::wstring packet = m_folders.Outside(L"all.packet").wstring();

    ExpectValid(Run(L"list --json").output, "variables");
    ExpectValid(Run(L"list --long --json").output, "variables");
    ExpectValid(Run(L"get \"*\" --json").output, "variables");
    ExpectValid(Run(L"show --json --save-packet \"" + packet + L'"').output, "variables");
    ExpectValid(RunTool(L"packet --json \"" + packet + L'"').output, "variables");
}

TEST_F(OutputSchemas, DescribeWhatIsLookedUp) {
    ExpectValid(Run(L"diff --json").output, "diff");
    ExpectValid(Run(L"explain \"*\" --json").output, "explain");
    ExpectValid(Run(L"describe Settings.CurrentBitrate Level DefaultDeviceName --json").output, "describe");
    ExpectValid(RunTool(L"survey --json").output, "survey");
    ExpectValid(RunTool(L"check --json \"" + m_folders.DataDir().wstring() + L'"').output, "check");
}

// Errors, warnings, files that are mended and one that is not there.
TEST_F(OutputSchemas, DescribeTheCheckOfEachMistake) {
    const std::filesystem::path copies = m_folders.Outside(L"mistakes");
    std::filesystem::create_directory(copies);
    for (const std::filesystem::path& mistake : Mistakes()) {
        std::filesystem::copy_file(mistake, copies / mistake.filename());
    }
    const std::wstring line = L"check --json \"" + copies.wstring() + L"\\*.*\"";

    const std::string plain = RunTool(line).output;
    ExpectValid(plain, "check");
    ExpectValid(RunTool(line + L" --strict --all").output, "check");
    ExpectValid(RunTool(line + L" missing.json").output, "check");
    ExpectValid(RunTool(line + L" --fix").output, "check");
    rapidjson::Document files;
    files.Parse(plain.c_str());
    EXPECT_EQ(36u, files.Size());
}

TEST_F(OutputSchemas, RefuseOtherForms) {
    EXPECT_FALSE(IsValid(R"([{"name":"A","type":"integer"}])", "variables"));
    EXPECT_FALSE(IsValid(R"({"version":1,"kind":"reload","time":"2026-01-02T03:04:05.678Z"})", "watch"));
    EXPECT_FALSE(
        IsValid(R"([{"file":"ZQ2_HmdList.json","accepted":"yes","savable":true,"problems":[]}])", "check"));
    EXPECT_FALSE(IsValid(
        R"([{"file":"ZQ2_HmdList.json","accepted":true,"savable":true,"problems":[],"other":1}])", "check"));
}

TEST_F(OutputSchemas, DescribeWhatIsChanged) {
    const std::filesystem::path kept = m_folders.DataDir() / L"kept";
    std::filesystem::create_directory(kept);
    WriteBytes(kept / L"ZQ2_HmdList.json.20260102T030405.678Z", "[]");
    const std::wstring data = L" --json" + DataOption(m_folders);

    ExpectValid(Run(L"set Scale 2 --json").output, "save");
    ExpectValid(Run(L"set-hmd ALPHA1 1 2 0 11 --json").output, "save");
    ExpectValid(RunTool(L"restore --list" + data).output, "restore");
    ExpectValid(RunTool(L"restore ZQ2_HmdList.json.20260102T030405.678Z" + data).output, "restore");
}

TEST_F(OutputSchemas, DescribeEachLineOfWatch) {
    std::filesystem::remove(m_folders.Private(kQualityName));
    WriteBytes(m_folders.Private(kSettingsName), "{\"Level\":1}\n");
    const ToolRun run = Run(L"watch --json --for 0.3 --provision --replace-refused");
    std::set<std::string> kinds;

    std::istringstream lines(run.output);
    for (std::string line; std::getline(lines, line);) {
        ExpectValid(line, "watch");
        rapidjson::Document message;
        message.Parse(line.c_str());
        kinds.insert(message["kind"].GetString());
    }

    EXPECT_EQ((std::set<std::string>{"end", "log", "state"}), kinds) << run.output;
}

} // namespace
} // namespace zq::test
