// DoInit as a host sees it: what is copied, loaded, repaired and logged.
#include "support/win32/Module.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

TEST(DoInit, FirstStartCopiesAndLoadsAllThreeFiles) {
    ModuleFolders folders;
    RecordingHost host;
    Module module;

    module.Init(host, folders);

    for (const wchar_t* name : {kSettingsName, kHmdListName, kQualityName}) {
        EXPECT_EQ(ReadBytes(folders.Default(name)), ReadBytes(folders.Private(name)));
        EXPECT_EQ(1, host.Count(L"[DoInit] copy " + folders.CommonDataDir() + L"\\ZQserver\\" + name +
                                L" OK , exist:0 ."));
    }
    EXPECT_EQ(L"default", module.String(L"Source"));
    EXPECT_EQ(30, module.Int64(L"CL.ALPHA1.1.2.0.2"));
    EXPECT_EQ(50.0, module.Double(L"CL.ALPHA1.Balance.Bitrate"));
}

} // namespace
} // namespace zq::test
