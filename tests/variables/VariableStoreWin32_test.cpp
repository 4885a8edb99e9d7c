#include "variables/VariableStore.h"

#include <gtest/gtest.h>

namespace zq {
namespace {

TEST(VariableStore, ANullStringForAnExistingNameRaisesAndLeavesTheMutexFree) {
    VariableStore store;
    EXPECT_TRUE(store.SetStringNull(L"A"));

    EXPECT_THROW(store.SetStringNull(L"A"), std::invalid_argument);

    HANDLE thread = CreateThread(
        nullptr, 0,
        [](void* other) -> DWORD { return static_cast<VariableStore*>(other)->SetInt64(L"B", 1) ? 7 : 0; },
        &store, 0, nullptr);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread, 5000));
    CloseHandle(thread);
}

} // namespace
} // namespace zq
