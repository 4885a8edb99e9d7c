// Loads the shipped default files as a first start does.
#include "support/win32/Module.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zq::test {
namespace {

std::filesystem::path Shipped(const wchar_t* name) { return ProgramFolder() / L"defaults" / name; }

class DefaultFiles : public testing::TestWithParam<const wchar_t*> {};

TEST_P(DefaultFiles, IsPlainAsciiUpToItsLastBracket) {
    const std::string bytes = ReadBytes(Shipped(GetParam()));

    EXPECT_TRUE(
        std::all_of(bytes.begin(), bytes.end(), [](char c) { return c == '\n' || (c >= 32 && c < 127); }));
    EXPECT_TRUE(bytes.ends_with('}') || bytes.ends_with(']'));
}

INSTANTIATE_TEST_SUITE_P(Each, DefaultFiles, testing::Values(kSettingsName, kHmdListName, kQualityName));

TEST(DefaultFiles, LoadWithoutRepairOrComplaint) {
    const ModuleFolders folders;
    RecordingHost host;
    Module module;

    module->DoInit(&host, folders.HostPath().c_str(), Shipped(L"").parent_path().c_str(),
                   folders.CommonDataDir().c_str());

    for (const LogLine& line : host.Lines()) {
        EXPECT_LT(line.level, 4) << Printable(line);
        EXPECT_EQ(std::wstring::npos, line.text.find(L"JSON paser")) << Printable(line);
        EXPECT_EQ(std::wstring::npos, line.text.find(L"again")) << Printable(line);
    }
    for (const wchar_t* name : {kSettingsName, kHmdListName, kQualityName}) {
        EXPECT_EQ(ReadBytes(Shipped(name)), ReadBytes(folders.Private(name)));
    }
}

TEST(DefaultFiles, DescribeEachHeadsetInAllThreeFiles) {
    const ModuleFolders folders;
    RecordingHost host;
    Module module;
    module->DoInit(&host, folders.HostPath().c_str(), Shipped(L"").parent_path().c_str(),
                   folders.CommonDataDir().c_str());

    ASSERT_EQ(6, module.Int64(L"HmdNameSize"));
    ASSERT_EQ(0, module.Int64(L"DHI"));
    for (int i = 0; i < 6; ++i) {
        const auto name = module.String((L"HmdNameList." + std::to_wstring(i)).c_str());
        ASSERT_TRUE(name.has_value());
        const std::wstring prefix = L"CL." + *name;
        EXPECT_TRUE(module.Double((prefix + L".RenderScale").c_str()).has_value()) << i;
        EXPECT_EQ(5, module.Int64((prefix + L".3.0.0.ArraySize").c_str())) << i;
        for (const wchar_t* preset : {L".Quality", L".Balance", L".Performance", L".Ultra"}) {
            EXPECT_TRUE(module.Int64((prefix + preset + L".Bitrate").c_str()).has_value()) << i;
        }
    }
}

} // namespace
} // namespace zq::test
