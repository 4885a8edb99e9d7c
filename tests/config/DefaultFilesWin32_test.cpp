// The files as they are shipped: each is accepted whole, and none of its prefixes is.
#include "config/ConfigText.h"

#include "support/win32/Folders.h"

#include <gtest/gtest.h>

namespace zq {
namespace {

class DefaultFiles : public testing::TestWithParam<const wchar_t*> {};

TEST_P(DefaultFiles, AreAcceptedWholeAndRefusedAtEveryPrefix) {
    const std::string bytes = test::ReadBytes(test::ProgramFolder() / L"defaults" / GetParam());
    ConfigText config(ConfigFile::Settings);

    for (size_t length = 0; length < bytes.size(); ++length) {
        ASSERT_FALSE(config.Read(std::string_view(bytes).substr(0, length))) << length;
    }
    EXPECT_TRUE(config.Read(bytes));
}

INSTANTIATE_TEST_SUITE_P(All, DefaultFiles,
                         testing::Values(test::kSettingsName, test::kHmdListName, test::kQualityName));

} // namespace
} // namespace zq
