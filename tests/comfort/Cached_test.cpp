// Cached values: what they hold when, and that they may end at any time.
#include "comfort/OpenModule.h"

#include <atomic>
#include <thread>

namespace zq::test {
namespace {

class CachedValues : public OpenModule {};

constexpr Key<int64_t> kLevel{L"Level"};

TEST_F(CachedValues, HoldTheValueFromTheFilesOrTheFallback) {
    const Cached<int64_t> level(module, kLevel);
    const Cached<bool> dashboard(module, Key<bool>{L"Settings.EnableDashboard"});
    const Cached<double> ratio(module, Key<double>{L"Level"});
    const Cached missing(module, Key<double>{L"Nowhere"}, 2.5);
    EXPECT_EQ(1, level);
    EXPECT_TRUE(dashboard);
    EXPECT_EQ(1.0, ratio.get());
    EXPECT_EQ(2.5, missing.get());
}

TEST_F(CachedValues, FollowSetsOfTheirNameAndType) {
    const Cached<int64_t> level(module, kLevel);
    const Cached<bool> late(module, Key<bool>{L"Late"});
    module.set(L"Level", 2.0);
    module.set(L"Level.More", 3);
    module.set(L"Late", true);
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ(1, level);
    EXPECT_TRUE(late);
    module.set(L"Level", 4);
    EXPECT_TRUE(WaitFor([&] { return level == 4; }));
}

TEST_F(CachedValues, FollowReloads) {
    const Cached<int64_t> level(module, kLevel);
    EditSettings(R"({"Level":7})");
    EXPECT_TRUE(WaitFor([&] { return level == 7; }));
}

TEST_F(CachedValues, FollowWhatAnotherHostSets) {
    const Cached<int64_t> level(module, kLevel);
    const Packet packet = module.pack(L"Level", VariableTypeInt64, "\x09\0\0\0\0\0\0", 8);
    ASSERT_TRUE(module.unpack(packet.view()));
    EXPECT_TRUE(WaitFor([&] { return level == 9; }));
}

TEST_F(CachedValues, AreUpdatedBeforeAnySubscriberIsCalled) {
    std::atomic<int> calls{0};
    std::atomic<int> stale{0};
    std::atomic<int64_t> atReload{0};
    std::atomic<const Cached<int64_t>*> level{nullptr};
    const Subscription token = module.subscribe(L"Level", [&](const Change& change) {
        if (!change.isReload()) {
            stale += *level.load() < 100 + calls++ ? 1 : 0; // later sets may have arrived with this one
        }
    });
    const Cached<int64_t> made(module, kLevel);
    level = &made;
    const Subscription reloads = module.subscribe(L"None", [&](const Change&) { atReload = made.get(); });
    for (int i = 100; i < 300; ++i) {
        module.set(kLevel, i);
    }
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ(200, calls);
    EXPECT_EQ(0, stale);
    EditSettings(R"({"Level":1000})");
    EXPECT_TRUE(WaitFor([&] { return module.get(kLevel) == 1000; }));
    EXPECT_TRUE(WaitFor([&] { return atReload == 1000; }));
}

TEST_F(CachedValues, KeepWhatTheyHoldWhenAllVariablesAreRemoved) {
    const Cached<int64_t> level(module, kLevel, 5);
    module.removeAll();
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ(1, level);
}

TEST_F(CachedValues, MayEndInsideACallback) {
    auto level = std::make_unique<Cached<int64_t>>(module, kLevel);
    const Cached<int64_t> other(module, kLevel);
    const Subscription token = module.subscribe(kLevel, [&](int64_t) { level.reset(); });
    module.set(kLevel, 8);
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ(nullptr, level);
    module.set(kLevel, 9);
    EXPECT_TRUE(WaitFor([&] { return other == 9; }));
}

TEST_F(CachedValues, KeepTheirLastValueOnceTheModuleIsClosed) {
    const Cached<int64_t> level(module, kLevel);
    module.close();
    EXPECT_EQ(1, level);
}

TEST_F(CachedValues, CannotBeMadeFromAClosedModule) {
    module.close();
    const Error error = ErrorOf([&] { const Cached<int64_t> level(module, kLevel); });
    EXPECT_EQ(Reason::Closed, error.reason());
}

TEST_F(CachedValues, ComeAndGoOnManyThreadsWhileChangesArrive) {
    std::atomic<bool> isOver{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            int64_t last = 0;
            while (!isOver) {
                const Cached<int64_t> level(module, kLevel);
                wrong += level < last ? 1 : 0; // an older value must not overtake a newer one
                last = level;
            }
        });
    }
    for (int i = 100; i < 600; ++i) {
        module.set(kLevel, i);
    }
    isOver = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(0, wrong);
}

} // namespace
} // namespace zq::test
