// The typed variables as a host reads and writes them.
#include "support/win32/Module.h"
#include "support/win32/VariableHost.h"
#include "support/win32/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace zq::test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A module with one registered host, and a last notice that shows that all before it have arrived.
class Variables : public testing::Test {
protected:
    Variables() { variables.RegisterHost(&host); }
    ~Variables() override { variables.UnregisterHost(&host); }

    std::vector<Notice> Notices() {
        const std::wstring last = L"Last" + std::to_wstring(m_lasts++);
        variables.SetVariableBool(last.c_str(), 1, nullptr, 0);
        EXPECT_TRUE(WaitFor([&] { return IsAt(last); }));
        std::vector<Notice> notices = host.Notices();
        std::erase_if(notices, [](const Notice& notice) { return notice.name.starts_with(L"Last"); });
        notices.erase(notices.begin(), notices.begin() + static_cast<ptrdiff_t>(m_seen));
        m_seen += notices.size();
        return notices;
    }

    RecordingHost log;
    NoticeHost host;
    NoticeHost other;
    Module module;
    CZQVariable& variables = module.Variables();

private:
    bool IsAt(const std::wstring& last) const {
        const std::vector<Notice> notices = host.Notices();
        return !notices.empty() && notices.back().name == last;
    }

    int m_lasts = 0;
    size_t m_seen = 0;
};

using Expected = std::vector<Notice>;

TEST_F(Variables, OneNameInTwoTypesIsTwoVariables) {
    variables.SetVariableBool(L"A", 1, nullptr, 0);
    variables.SetVariableInt64(L"A", 42, nullptr, 0);

    EXPECT_EQ(1, module.Bool(L"A"));
    EXPECT_EQ(42, module.Int64(L"A"));
    EXPECT_FALSE(module.Double(L"A"));
    EXPECT_FALSE(module.String(L"A"));
    EXPECT_FALSE(module.Binary(L"A"));
}

TEST_F(Variables, NamesDifferInLetterCase) {
    variables.SetVariableInt64(L"Name", 1, nullptr, 0);

    EXPECT_FALSE(module.Int64(L"name"));
    EXPECT_FALSE(module.Int64(L"NAME"));
    EXPECT_FALSE(module.Int64(L"Name "));
    EXPECT_EQ(1, module.Int64(L"Name"));
}

TEST_F(Variables, ABoolKeepsItsByte) {
    variables.SetVariableBool(L"A", 2, nullptr, 0);
    EXPECT_EQ(2, module.Bool(L"A"));

    variables.SetVariableBool(L"A", 1, nullptr, 0);
    EXPECT_EQ((Expected{{L"A", 1, nullptr}, {L"A", 1, nullptr}}), Notices());
}

TEST_F(Variables, RemovingAllLeavesNothingOfAnyTypeAndNotifiesNobody) {
    variables.SetVariableBool(L"A", 1, &host, 0);
    variables.SetVariableInt64(L"A", 1, &host, 0);
    variables.SetVariableDouble(L"A", 1, &host, 0);
    variables.SetVariableString(L"A", L"x", &host, 0);
    variables.SetVariableBinary(L"A", 1, "x", &host, 0);

    variables.RemoveAllVariables();

    EXPECT_FALSE(module.Bool(L"A"));
    EXPECT_FALSE(module.Int64(L"A"));
    EXPECT_FALSE(module.Double(L"A"));
    EXPECT_FALSE(module.String(L"A"));
    EXPECT_FALSE(module.Binary(L"A"));
    EXPECT_EQ(Expected{}, Notices());
}

TEST_F(Variables, GettersLeaveTheirOutputsWhenThereIsNothing) {
    ZQBool boolean = 77;
    int64_t integer = 77;
    double real = 77;
    size_t length = 77;
    wchar_t text[] = L"untouched";

    EXPECT_EQ(0, variables.GetVariableBool(L"A", &boolean));
    EXPECT_EQ(0, variables.GetVariableInt64(L"A", &integer));
    EXPECT_EQ(0, variables.GetVariableDouble(L"A", &real));
    EXPECT_EQ(0, variables.GetVariableBinary(L"A", text, sizeof(text), &length));
    EXPECT_EQ(0, variables.GetVariableString(L"A", text, 10));

    EXPECT_EQ(77, boolean);
    EXPECT_EQ(77, integer);
    EXPECT_EQ(77, real);
    EXPECT_EQ(77u, length);
    EXPECT_STREQ(L"untouched", text);
}

TEST_F(Variables, TheStoredIntegerNotifiesNobodyUnlessForced) {
    variables.RegisterHost(&other);
    variables.SetVariableInt64(L"A", 5, nullptr, 0);
    EXPECT_EQ((Expected{{L"A", 2, nullptr}}), Notices());

    variables.SetVariableInt64(L"A", 5, nullptr, 0);
    EXPECT_EQ(Expected{}, Notices());

    variables.SetVariableInt64(L"A", 5, &other, 1);
    variables.SetVariableInt64(L"A", 5, &other, -1);
    EXPECT_EQ((Expected{{L"A", 2, &other}, {L"A", 2, &other}}), Notices());
    variables.UnregisterHost(&other);
    for (const Notice& notice : other.Notices()) {
        EXPECT_EQ(nullptr, notice.source);
    }
}

TEST_F(Variables, ForceNotifiesForEveryTypeEvenForAMissingBinary) {
    variables.SetVariableBool(L"A", 0, nullptr, 1);
    variables.SetVariableBool(L"A", 0, nullptr, 1);
    variables.SetVariableDouble(L"A", 0, nullptr, 1);
    variables.SetVariableDouble(L"A", 0, nullptr, 1);
    variables.SetVariableString(L"A", L"", nullptr, 1);
    variables.SetVariableString(L"A", L"", nullptr, 1);
    variables.SetVariableBinary(L"A", 0, nullptr, nullptr, 1);

    EXPECT_EQ((Expected{{L"A", 1, nullptr},
                        {L"A", 1, nullptr},
                        {L"A", 3, nullptr},
                        {L"A", 3, nullptr},
                        {L"A", 4, nullptr},
                        {L"A", 4, nullptr},
                        {L"A", 5, nullptr}}),
              Notices());
}

TEST_F(Variables, ANewVariableWithAnEmptyValueIsAChange) {
    variables.SetVariableBool(L"A", 0, nullptr, 0);
    variables.SetVariableInt64(L"A", 0, nullptr, 0);
    variables.SetVariableDouble(L"A", 0, nullptr, 0);
    variables.SetVariableString(L"A", L"", nullptr, 0);

    EXPECT_EQ(4u, Notices().size());
    EXPECT_EQ(L"", module.String(L"A"));
}

TEST_F(Variables, NaNOverNaNNotifiesEveryTime) {
    variables.SetVariableDouble(L"A", kNaN, nullptr, 0);
    variables.SetVariableDouble(L"A", kNaN, nullptr, 0);
    variables.SetVariableDouble(L"A", 1, nullptr, 0);

    EXPECT_EQ(3u, Notices().size());
}

TEST_F(Variables, MinusZeroOverZeroNotifiesNobodyAndKeepsZero) {
    variables.SetVariableDouble(L"A", 0.0, &host, 0);

    variables.SetVariableDouble(L"A", -0.0, nullptr, 0);

    EXPECT_EQ(Expected{}, Notices());
    EXPECT_FALSE(std::signbit(*module.Double(L"A")));
}

TEST_F(Variables, AStringIsComparedExactly) {
    variables.SetVariableString(L"A", L"Text", nullptr, 0);
    variables.SetVariableString(L"A", L"Text", nullptr, 0);
    variables.SetVariableString(L"A", L"text", nullptr, 0);

    EXPECT_EQ(2u, Notices().size());
    EXPECT_EQ(L"text", module.String(L"A"));
}

TEST_F(Variables, ABufferOfExactlyTheLengthIsTooSmallForAString) {
    variables.SetVariableString(L"A", L"four", nullptr, 0);
    wchar_t buffer[8];
    std::fill_n(buffer, 8, L'#');

    for (const int32_t size : {-1, 0, 1, 4}) {
        EXPECT_EQ(0, variables.GetVariableString(L"A", buffer, size));
    }
    EXPECT_EQ(8, std::count(buffer, buffer + 8, L'#'));

    EXPECT_EQ(1, variables.GetVariableString(L"A", buffer, 5));
    EXPECT_STREQ(L"four", buffer);
    EXPECT_EQ(L'#', buffer[5]);

    EXPECT_EQ(1, variables.GetVariableString(L"A", buffer, 8));
    EXPECT_EQ(4, std::count(buffer, buffer + 8, L'\0'));
}

TEST_F(Variables, ABinaryNotifiesEvenForTheSameBytes) {
    variables.SetVariableBinary(L"A", 3, "abc", nullptr, 0);
    variables.SetVariableBinary(L"A", 3, "abc", nullptr, 0);

    EXPECT_EQ(2u, Notices().size());
    EXPECT_EQ((std::vector<unsigned char>{'a', 'b', 'c'}), module.Binary(L"A"));
}

TEST_F(Variables, NullDeletesABinaryAndNotifies) {
    variables.SetVariableBinary(L"A", 3, "abc", nullptr, 0);
    variables.SetVariableBinary(L"A", 3, nullptr, nullptr, 0);
    EXPECT_EQ(2u, Notices().size());
    EXPECT_FALSE(module.Binary(L"A"));

    variables.SetVariableBinary(L"A", 0, nullptr, nullptr, 0);
    EXPECT_EQ(Expected{}, Notices());
}

TEST_F(Variables, ALengthOfZeroMakesAnEmptyBinary) {
    variables.SetVariableBinary(L"A", 0, "", nullptr, 0);

    size_t length = 99;
    char byte = '#';
    EXPECT_EQ(1, variables.GetVariableBinary(L"A", &byte, 0, &length));
    EXPECT_EQ(0u, length);
    EXPECT_EQ('#', byte);
}

TEST_F(Variables, ANullBufferAsksForTheLengthOfABinary) {
    variables.SetVariableBinary(L"A", 3, "abc", nullptr, 0);
    size_t length = 0;
    char buffer[4] = "###";

    EXPECT_EQ(0, variables.GetVariableBinary(L"A", nullptr, 100, &length));
    EXPECT_EQ(3u, length);

    length = 0;
    EXPECT_EQ(0, variables.GetVariableBinary(L"A", buffer, 2, &length));
    EXPECT_EQ(3u, length);
    EXPECT_STREQ("###", buffer);

    EXPECT_EQ(1, variables.GetVariableBinary(L"A", buffer, 3, &length));
    EXPECT_STREQ("abc", buffer);
}

TEST_F(Variables, NamesAndTextsAreCopied) {
    std::wstring name = L"A";
    std::wstring text = L"value";
    variables.SetVariableString(name.c_str(), text.c_str(), nullptr, 0);
    name[0] = L'X';
    text[0] = L'X';

    EXPECT_EQ(L"value", module.String(L"A"));
}

TEST_F(Variables, ANullNameRaisesInvalidArgumentEverywhere) {
    ZQBool boolean = 0;
    int64_t integer = 0;
    double real = 0;
    size_t length = 0;

    EXPECT_THROW(variables.SetVariableBool(nullptr, 1, nullptr, 0), std::invalid_argument);
    EXPECT_THROW(variables.SetVariableInt64(nullptr, 1, nullptr, 0), std::invalid_argument);
    EXPECT_THROW(variables.SetVariableDouble(nullptr, 1, nullptr, 0), std::invalid_argument);
    EXPECT_THROW(variables.SetVariableString(nullptr, L"", nullptr, 0), std::invalid_argument);
    EXPECT_THROW(variables.SetVariableBinary(nullptr, 0, "", nullptr, 0), std::invalid_argument);
    EXPECT_THROW(variables.SetVariableBinary(nullptr, 0, nullptr, nullptr, 0), std::invalid_argument);
    EXPECT_THROW(variables.GetVariableBool(nullptr, &boolean), std::invalid_argument);
    EXPECT_THROW(variables.GetVariableInt64(nullptr, &integer), std::invalid_argument);
    EXPECT_THROW(variables.GetVariableDouble(nullptr, &real), std::invalid_argument);
    EXPECT_THROW(variables.GetVariableString(nullptr, nullptr, 0), std::invalid_argument);
    EXPECT_THROW(variables.GetVariableBinary(nullptr, nullptr, 0, &length), std::invalid_argument);
    EXPECT_THROW(variables.PackVariable(nullptr, 1, "", 1, &length), std::invalid_argument);
    EXPECT_EQ(Expected{}, Notices());
}

TEST_F(Variables, ANullStringIsEmptyForANewNameAndRaisesForAnOldOneWithTheMutexFree) {
    variables.SetVariableString(L"A", nullptr, nullptr, 0);
    EXPECT_EQ(L"", module.String(L"A"));
    EXPECT_EQ(1u, Notices().size());

    variables.SetVariableString(L"A", L"kept", &host, 0);
    EXPECT_THROW(variables.SetVariableString(L"A", nullptr, nullptr, 1), std::invalid_argument);
    EXPECT_EQ(L"kept", module.String(L"A"));

    const HANDLE thread = CreateThread(
        nullptr, 0,
        [](void* argument) -> DWORD {
            static_cast<CZQVariable*>(argument)->SetVariableInt64(L"B", 7, nullptr, 0);
            return 0;
        },
        &variables, 0, nullptr);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread, 5000));
    CloseHandle(thread);
    EXPECT_EQ(7, module.Int64(L"B"));
    EXPECT_EQ((Expected{{L"B", 2, nullptr}}), Notices());
}

TEST_F(Variables, NoOperationLogsAnything) {
    const ModuleFolders folders;
    module.Init(log, folders);
    log.Clear();

    size_t size = 0;
    variables.SetVariableInt64(L"A", 1, nullptr, 0);
    variables.GetVariableString(L"missing", nullptr, 0);
    void* packet = variables.PackAllVariables(&size);
    variables.UnpackVariables(packet, size, nullptr);
    HeapFree(GetProcessHeap(), 0, packet);
    variables.RemoveAllVariables();

    EXPECT_TRUE(log.Lines().empty());
}

} // namespace
} // namespace zq::test
