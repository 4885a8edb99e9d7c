#include "variables/VariableStore.h"

#include <gtest/gtest.h>

namespace zq {
namespace {

TEST(VariableStore, NullNameRaisesInvalidArgument) {
    VariableStore store;
    int64_t value = 0;

    EXPECT_THROW(store.GetInt64(nullptr, &value), std::invalid_argument);
}

} // namespace
} // namespace zq
