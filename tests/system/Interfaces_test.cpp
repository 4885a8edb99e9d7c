// The interfaces' own bodies, used by an object that overrides nothing: they do nothing and find nothing.
#include "CZQModHost.h"
#include "CZQModSettings.h"
#include "CZQVariable.h"

#include <gtest/gtest.h>

namespace zq::test {
namespace {

class PlainSettings final : public CZQModSettings {};
class PlainVariables final : public CZQVariable {};

TEST(Interfaces, UnimplementedSettingsFailToStartAndDoNothingElse) {
    PlainSettings plain;
    CZQModSettings& settings = plain;
    const int64_t value = 1;

    EXPECT_EQ(1, settings.DoInit(nullptr, L"", L"", L""));
    EXPECT_EQ(1, settings.DoStart());
    settings.DoStop();
    settings.DoRelease();
    settings.UpdateDefaultDeviceName();
    settings.SaveConfigRemoved6(L"A");
    settings.SaveConfigRemoved7(L"A");
    settings.SaveConfigRemoved8(L"A");
    settings.SaveConfigRemoved9(L"A");
    settings.SaveConfigHmdListIntArray(L"A", 1, 2, 3, &value, 1);
    settings.SaveConfigDouble(L"A", 1, 0);
    settings.SaveConfigBool(L"A", 1, 0);
    settings.SaveConfigString(L"A", "text", 0);
    settings.SaveConfigInt64(L"A", 1, 0);
}

TEST(Interfaces, UnimplementedVariablesAreNeverFound) {
    PlainVariables plain;
    CZQVariable& variables = plain;
    size_t size = 5;
    double real = 5;
    ZQBool boolean = 5;
    int64_t integer = 5;
    wchar_t text[2] = L"5";

    variables.RegisterHost(nullptr);
    variables.UnregisterHost(nullptr);
    variables.Reserved();
    variables.RemoveAllVariables();
    variables.SetVariableBinary(L"A", 1, "b", nullptr, 1);
    variables.SetVariableDouble(L"A", 1, nullptr, 1);
    variables.SetVariableBool(L"A", 1, nullptr, 1);
    variables.SetVariableInt64(L"A", 1, nullptr, 1);
    variables.SetVariableString(L"A", L"text", nullptr, 1);
    EXPECT_EQ(nullptr, variables.PackVariable(L"A", VariableTypeBool, &boolean, 1, &size));
    EXPECT_EQ(nullptr, variables.PackAllVariables(&size));
    EXPECT_EQ(0, variables.UnpackVariables("", 0, nullptr));
    EXPECT_EQ(0, variables.GetVariableBinary(L"A", &boolean, 1, &size));
    EXPECT_EQ(0, variables.GetVariableDouble(L"A", &real));
    EXPECT_EQ(0, variables.GetVariableBool(L"A", &boolean));
    EXPECT_EQ(0, variables.GetVariableInt64(L"A", &integer));
    EXPECT_EQ(0, variables.GetVariableString(L"A", text, 2));

    EXPECT_EQ(5U, size);
    EXPECT_EQ(5, real);
    EXPECT_EQ(5, boolean);
    EXPECT_EQ(5, integer);
    EXPECT_STREQ(L"5", text);
}

TEST(Interfaces, SlotsThatTheModuleNeverCallsHaveBodies) {
    class PlainHost final : public CZQModHost {
        void Log(const wchar_t*, int32_t, const wchar_t*, va_list) override {}
        void OnConfigReloaded() override {}
    } plain;
    CZQModHost& host = plain;

    host.Reserved();

    EXPECT_EQ(&plain, host.ScalarDeletingDestructor(0));
}

} // namespace
} // namespace zq::test
