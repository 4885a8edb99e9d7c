#include "variables/VariableStore.h"

#include <gtest/gtest.h>

namespace zq {
namespace {

TEST(VariableStore, AnEmptyStringIsAddedOnlyUnderANewName) {
    Mutex mutex;
    VariableStore store{mutex};
    EXPECT_TRUE(store.AddEmptyString(L"A"));
    EXPECT_TRUE(store.SetString(L"A", L"text"));

    EXPECT_FALSE(store.AddEmptyString(L"A"));

    wchar_t text[8];
    EXPECT_TRUE(store.GetString(L"A", text, 8));
    EXPECT_STREQ(L"text", text);
}

} // namespace
} // namespace zq
