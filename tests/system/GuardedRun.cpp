// With ZQ_GUARDED_HEAP in the environment the whole program runs with the module's memory on guarded pages.
#include "support/win32/GuardedHeap.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

namespace zq::test {
namespace {

class GuardedRun final : public testing::Environment {
public:
    void SetUp() override { m_heap = std::make_unique<GuardedHeap>(); }
    void TearDown() override {
        std::printf("guarded heap: %ld blocks, %ld overruns\n", m_heap->Blocks(), m_heap->Overruns());
        EXPECT_GT(m_heap->Blocks(), 0);
        EXPECT_EQ(0, m_heap->Overruns());
    }

private:
    std::unique_ptr<GuardedHeap> m_heap; // stays to the end: blocks may come back late
};

const bool g_isAdded = [] {
    if (GetEnvironmentVariableW(L"ZQ_GUARDED_HEAP", nullptr, 0) != 0) {
        testing::AddGlobalTestEnvironment(new GuardedRun);
    }
    return true;
}();

} // namespace
} // namespace zq::test
