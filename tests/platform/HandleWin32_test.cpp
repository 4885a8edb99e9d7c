#include "platform/Handle.h"

#include "support/win32/ProcessResources.h"

#include <gtest/gtest.h>

#include <vector>

namespace zq::test {
namespace {

// The count that tests for leaks rely on sees each of them, beyond those that are open for longer too.
TEST(UniqueHandle, IsOneOpenHandleUntilItsEnd) {
    const size_t before = HandleCount();
    {
        std::vector<UniqueHandle> events;
        for (size_t count = 1; count <= 20; ++count) {
            events.emplace_back(CreateEventW(nullptr, TRUE, FALSE, nullptr));
            EXPECT_EQ(before + count, HandleCount());
        }
        events.erase(events.begin(), events.end() - 1);
        EXPECT_EQ(before + 1, HandleCount());
    }
    EXPECT_EQ(before, HandleCount());
}

} // namespace
} // namespace zq::test
