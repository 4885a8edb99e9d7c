// Gives the program, and each zqsettings that it starts, a temporary folder that nobody else uses: tests
// count what is left there, and several of these programs may run at once.
#include "support/win32/Folders.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace zq::test {
namespace {

class OwnTemporaryFolder : public testing::Environment {
public:
    void SetUp() override {
        for (const wchar_t* name : {L"TMP", L"TEMP"}) {
            SetEnvironmentVariableW(name, m_folder.Path().c_str());
        }
    }

private:
    const TempFolder m_folder;
};

const testing::Environment* const g_environment = testing::AddGlobalTestEnvironment(new OwnTemporaryFolder);

} // namespace
} // namespace zq::test
