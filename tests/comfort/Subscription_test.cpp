// Subscriptions: who is called with what, and until when.
#include "comfort/OpenModule.h"

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

namespace zq::test {
namespace {

// The names that a subscriber was called with, "" for a reload.
class Heard {
public:
    void Add(const Change& change) {
        const std::lock_guard lock(m_mutex);
        m_names.emplace_back(change.name);
    }
    std::vector<std::wstring> Names() const {
        const std::lock_guard lock(m_mutex);
        return m_names;
    }
    size_t Count() const { return Names().size(); }

private:
    mutable std::mutex m_mutex;
    std::vector<std::wstring> m_names;
};

using Names = std::vector<std::wstring>;

class Subscriptions : public OpenModule {
protected:
    Heard heard;

    auto Hear() {
        return [this](const Change& change) { heard.Add(change); };
    }
};

TEST_F(Subscriptions, ASubscriberToANameIsNotifiedOfThatNameOnly) {
    const Subscription token = module.subscribe(L"A", Hear());
    module.set(L"A", 1);
    module.set(L"AB", 1);
    module.set(L"A", L"text");
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ((Names{L"A", L"A"}), heard.Names());
}

TEST_F(Subscriptions, ASubscriberToAPrefixIsNotifiedOfEveryNameThatBeginsWithIt) {
    const Subscription token = module.subscribe(Prefix{L"Video."}, Hear());
    for (const wchar_t* name : {L"Video.A", L"Video", L"Video.", L"video.B", L"Video.C"}) {
        module.set(name, 1);
    }
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ((Names{L"Video.A", L"Video.", L"Video.C"}), heard.Names());
}

TEST_F(Subscriptions, AChangeHasItsTypeAndASilentSetRaisesNone) {
    std::atomic<uint32_t> types{0};
    const Subscription token =
        module.subscribe(L"A", [&](const Change& change) { types = types * 10 + change.type; });
    module.set(L"A", true);
    module.set(L"A", true);
    module.set(L"A", 2.5);
    module.set(L"A", 2.5, Notify::Always);
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ(133u, types);
}

TEST_F(Subscriptions, EverySubscriberIsNotifiedOfAReload) {
    const Subscription byName = module.subscribe(L"A", Hear());
    const Subscription byPrefix = module.subscribe(Prefix{L"B"}, Hear());
    EditSettings(R"({"Level":2})");
    ASSERT_TRUE(WaitFor([&] { return heard.Count() >= 2; }));
    EXPECT_EQ((Names{L"", L""}), heard.Names());
    EXPECT_EQ(2, module.get<int64_t>(L"Level"));
}

TEST_F(Subscriptions, ASubscriberToAKeyGetsValuesAndAReloadThatChangedIt) {
    std::mutex mutex;
    std::vector<int64_t> values;
    const Subscription token = module.subscribe(Key<int64_t>{L"Level"}, [&](int64_t value) {
        const std::lock_guard lock(mutex);
        values.push_back(value);
    });
    const auto count = [&] {
        const std::lock_guard lock(mutex);
        return values.size();
    };
    const Subscription reloads = module.subscribe(L"None", Hear());
    module.set(L"Level", 5);
    module.set(L"Level", 5.5); // another variable
    ASSERT_TRUE(WaitForDelivery());
    EditSettings(R"({"Level":5,"Other":1})");
    ASSERT_TRUE(WaitFor([&] { return heard.Count() == 1; }));
    EditSettings(R"({"Level":6,"Another":1})");
    ASSERT_TRUE(WaitFor([&] { return count() >= 2; }));
    const std::lock_guard lock(mutex);
    EXPECT_EQ((std::vector<int64_t>{5, 6}), values);
}

TEST_F(Subscriptions, ADroppedTokenIsNotCalledAgain) {
    Subscription token = module.subscribe(L"A", Hear());
    module.set(L"A", 1);
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_TRUE(token);
    token.reset();
    EXPECT_FALSE(token);
    module.set(L"A", 2);
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ(1u, heard.Count());
}

TEST_F(Subscriptions, AMovedTokenKeepsItsSubscriberAndAnAssignedOneDropsTheOld) {
    Subscription a = module.subscribe(L"A", Hear());
    Subscription moved = std::move(a);
    moved = module.subscribe(L"B", Hear());
    module.set(L"A", 1);
    module.set(L"B", 1);
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ((Names{L"B"}), heard.Names());
}

TEST_F(Subscriptions, ATokenMayBeDroppedInsideItsOwnCallable) {
    const auto captured = std::make_shared<int>(42);
    std::atomic<int> seen{0};
    auto token = std::make_shared<Subscription>();
    *token = module.subscribe(L"A", [&seen, token, captured](const Change&) mutable {
        token->reset();
        seen += *captured; // what it captured lives to the end of the call
    });
    module.set(L"A", 1);
    module.set(L"A", 2);
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ(42, seen);
    EXPECT_EQ(1, captured.use_count()) << "the callable was not destroyed after its call";
}

TEST_F(Subscriptions, ASubscriberMayDropTheNextOne) {
    Subscription next;
    const Subscription first = module.subscribe(L"A", [&](const Change&) { next.reset(); });
    next = module.subscribe(L"A", Hear());
    const Subscription last = module.subscribe(L"A", Hear());
    module.set(L"A", 1);
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ(1u, heard.Count());
}

TEST_F(Subscriptions, ASubscriberMaySubscribeAndIsNotifiedOfTheNextChange) {
    Subscription second;
    const Subscription first = module.subscribe(L"A", [&](const Change&) {
        if (!second) {
            second = module.subscribe(L"A", Hear());
        }
    });
    module.set(L"A", 1);
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ(0u, heard.Count());
    module.set(L"A", 2);
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ(1u, heard.Count());
}

TEST_F(Subscriptions, DroppingATokenWaitsForItsRunningCallable) {
    std::atomic<bool> isEntered{false};
    std::atomic<bool> mayLeave{false};
    std::atomic<bool> hasLeft{false};
    Subscription token = module.subscribe(L"A", [&](const Change&) {
        isEntered = true;
        WaitFor([&] { return mayLeave.load(); });
        hasLeft = true;
    });
    module.set(L"A", 1);
    ASSERT_TRUE(WaitFor([&] { return isEntered.load(); }));
    std::thread release([&] { mayLeave = true; });
    token.reset();
    EXPECT_TRUE(hasLeft);
    release.join();
}

TEST_F(Subscriptions, DroppingATokenDestroysWhatItsCallableCaptured) {
    const auto captured = std::make_shared<int>(0);
    Subscription token = module.subscribe(L"A", [captured](const Change&) {});
    EXPECT_EQ(2, captured.use_count());
    token.reset();
    EXPECT_EQ(1, captured.use_count());
}

TEST_F(Subscriptions, ATokenMayOutliveItsModule) {
    const Subscription token = module.subscribe(L"A", Hear());
    module.close();
    EXPECT_TRUE(token);
}

TEST_F(Subscriptions, AnExceptionIsReportedAndTheOthersAreStillCalled) {
    const Subscription bad =
        module.subscribe(L"A", [](const Change&) { throw std::runtime_error("out of paper"); });
    const Subscription worse = module.subscribe(Prefix{L"A"}, [](const Change&) { throw 1; });
    const Subscription good = module.subscribe(L"A", Hear());
    module.set(L"A", 1);
    ASSERT_TRUE(WaitForDelivery());
    EXPECT_EQ(1u, heard.Count());
    EXPECT_EQ(
        1,
        log.Count(L"zq::Module: the subscriber of \"A\" raised out of paper; exceptions must not leave it"));
    EXPECT_EQ(1, log.Count(L"raised something that is no std::exception"));
    EXPECT_EQ(4, log.LevelOf(L"raised something that is no std::exception"));
}

TEST_F(Subscriptions, TokensComeAndGoOnManyThreadsWhileChangesArrive) {
    std::atomic<bool> isOver{false};
    std::atomic<int> calls{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            while (!isOver) {
                auto target = std::make_unique<std::atomic<int>>(0);
                const Subscription token =
                    module.subscribe(Prefix{L"Stress"}, [&calls, at = target.get()](const Change&) {
                        ++*at; // a call after the drop would touch freed memory
                        ++calls;
                    });
                std::this_thread::yield();
            }
        });
    }
    for (int i = 0; i < 500 || (calls == 0 && i < 100'000); ++i) {
        module.set(L"Stress", i);
    }
    isOver = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(WaitForDelivery());
    EXPECT_GT(calls, 0);
}

} // namespace
} // namespace zq::test
