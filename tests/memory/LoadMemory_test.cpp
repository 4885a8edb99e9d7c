// The memory of a load is proportional to the file. This is a separate program because it counts what
// operator new allocates.
#include "LoadMemory.h"

#include "platform/Mutex.h"
#include "variables/VariableStore.h"

#include <gtest/gtest.h>

namespace zq::bench {
namespace {

// What a load may take beyond the variables that stay, in lengths of the file.
constexpr double kMost = 8;

TEST(LoadMemory, FollowsTheFileInEveryShape) {
    for (const LoadShape& shape : LoadShapes()) {
        const Mutex mutex;
        VariableStore store(mutex);
        const auto times = [&] {
            return static_cast<double>(BytesBeyondTheVariables(shape, store)) /
                   static_cast<double>(shape.bytes.size());
        };

        EXPECT_GE(kMost, times()) << shape.name;
        EXPECT_GE(kMost, times()) << shape.name << ", loaded again";
    }
}

TEST(LoadMemory, OneLongKeyTakesMegabytes) {
    constexpr size_t kMega = size_t{1} << 20;
    const Mutex mutex;
    VariableStore store(mutex);

    EXPECT_GE(64 * kMega, BytesBeyondTheVariables(LongKeyShape(), store));
    EXPECT_GE(64 * kMega, BytesBeyondTheVariables(LongKeyShape(), store));
}

} // namespace
} // namespace zq::bench
