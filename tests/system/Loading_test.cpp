// What a host reads after the files are loaded.
#include "support/win32/Module.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

class Loading : public testing::Test {
protected:
    void Init(std::string_view settings) {
        WriteBytes(folders.Private(kSettingsName), settings);
        module.Init(host, folders);
    }

    std::wstring RefusalOf(const wchar_t* name, int result, int length) const {
        return L"LoadSettingsFromFile() JSON paser " + folders.CommonDataDir() + L"\\ZQserver\\" + name +
               L" fail ret length: " + std::to_wstring(result) + L" , file length:" +
               std::to_wstring(length) + L" copy again.";
    }

    ModuleFolders folders;
    RecordingHost host;
    Module module;
};

TEST_F(Loading, WholeNumberIsReadAsIntegerAndAsDouble) {
    Init(R"({"A":5,"B":5.0})");

    EXPECT_EQ(5, module.Int64(L"A"));
    EXPECT_EQ(5.0, module.Double(L"A"));
    EXPECT_EQ(std::nullopt, module.Int64(L"B"));
    EXPECT_EQ(5.0, module.Double(L"B"));
    EXPECT_EQ(std::nullopt, module.Bool(L"A"));
    EXPECT_EQ(std::nullopt, module.String(L"A"));
}

TEST_F(Loading, OtherLetterCaseFindsNothing) {
    Init(R"({"Name":true})");

    EXPECT_EQ(1, module.Bool(L"Name"));
    EXPECT_EQ(std::nullopt, module.Bool(L"name"));
}

TEST_F(Loading, HeaderListIsReadByIndex) {
    Init(R"({"CL":[{"HD":"X","Bitrate":40},{"HD":""}]})");

    EXPECT_EQ(2, module.Int64(L"HmdNameSize"));
    EXPECT_EQ(std::nullopt, module.Double(L"HmdNameSize"));
    EXPECT_EQ(L"X", module.String(L"HmdNameList.0"));
    EXPECT_EQ(L"", module.String(L"HmdNameList.1"));
    EXPECT_EQ(40, module.Int64(L"CL.X.Bitrate"));
    EXPECT_EQ(1, host.Count(L"Set variable STRING HmdNameList.0 = X"));
}

TEST_F(Loading, RefusedFileIsReplacedAndItsVariablesNeverShow) {
    Init("{\"Source\":\"private\",\"Mine\":1}\r\n");

    EXPECT_EQ(1, host.Count(RefusalOf(kSettingsName, 29, 31)));
    EXPECT_EQ(L"default", module.String(L"Source"));
    EXPECT_EQ(std::nullopt, module.Int64(L"Mine"));
    EXPECT_EQ(ReadBytes(folders.Default(kSettingsName)), ReadBytes(folders.Private(kSettingsName)));
}

TEST_F(Loading, HmdListOfAnotherKindIsReplaced) {
    WriteBytes(folders.Private(kHmdListName), "{}");
    module.Init(host, folders);

    EXPECT_EQ(1, host.Count(L"Invalid hmd list format."));
    EXPECT_EQ(30, module.Int64(L"CL.ALPHA1.1.2.0.2"));
}

TEST_F(Loading, RemovingAllVariablesLeavesNoneOfAnyType) {
    Init(R"({"A":5,"B":true,"S":"x"})");

    module.Variables().RemoveAllVariables();

    EXPECT_EQ(std::nullopt, module.Int64(L"A"));
    EXPECT_EQ(std::nullopt, module.Double(L"A"));
    EXPECT_EQ(std::nullopt, module.Bool(L"B"));
    EXPECT_EQ(std::nullopt, module.String(L"S"));
}

} // namespace
} // namespace zq::test
