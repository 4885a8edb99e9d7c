#include "serve/WorkQueue.h"

#include "platform/Event.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace zq::tool {
namespace {

TEST(WorkQueue, DoesWorkThatComesJustAsItFallsAsleep) {
    constexpr int kRounds = 20000;
    constexpr DWORD kCapMilliseconds = 10000;
    const Event isDone(EventReset::Auto);
    WorkQueue queue;
    for (int i = 0; i < kRounds; ++i) {
        ASSERT_TRUE(queue.Add([&] { isDone.Set(); }));
        ASSERT_TRUE(isDone.Wait(kCapMilliseconds)) << i;
    }
}

TEST(WorkQueue, KeepsTheOrderAndRefusesTooMuch) {
    const Event mayGoOn(EventReset::Manual);
    const Event isDone(EventReset::Auto);
    std::vector<int> order;
    WorkQueue queue;
    queue.Add([&] { mayGoOn.Wait(INFINITE); });
    int added = 0;
    while (queue.Add([&order, added] { order.push_back(added); }, 10)) {
        ++added;
    }
    EXPECT_LE(9, added);
    EXPECT_GE(10, added);
    mayGoOn.Set();
    ASSERT_TRUE(queue.Add([&] { isDone.Set(); }));
    ASSERT_TRUE(isDone.Wait(10000));
    ASSERT_EQ(static_cast<size_t>(added), order.size());
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

} // namespace
} // namespace zq::tool
