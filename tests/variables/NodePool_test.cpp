#include "variables/NodePool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <vector>

namespace zq {
namespace {

TEST(NodePool, NodesAreAlignedAndApart) {
    NodePool pool;
    std::vector<std::byte*> nodes;
    for (size_t bytes = 8; bytes < 600; bytes += 7) {
        auto* node = static_cast<std::byte*>(pool.Allocate(bytes));
        EXPECT_EQ(0U, reinterpret_cast<uintptr_t>(node) % 16) << bytes;
        std::memset(node, static_cast<int>(bytes), bytes);
        nodes.push_back(node);
    }
    size_t bytes = 8;
    for (std::byte* node : nodes) {
        EXPECT_EQ(std::byte(bytes & 0xFF), node[0]);
        EXPECT_EQ(std::byte(bytes & 0xFF), node[bytes - 1]);
        pool.Free(node, bytes);
        bytes += 7;
    }
}

// What a user of the pool does: the first word of a node in use is even.
void* Allocate(NodePool& pool, size_t bytes) {
    void* node = pool.Allocate(bytes);
    *static_cast<uintptr_t*>(node) = 0;
    return node;
}

std::multiset<void*> NodesOf(const NodePool& pool) {
    std::multiset<void*> nodes;
    pool.ForEach([&](void* node) { nodes.insert(node); });
    return nodes;
}

TEST(NodePool, VisitsTheNodesInUse) {
    NodePool pool;
    EXPECT_TRUE(NodesOf(pool).empty());
    std::multiset<void*> expected;
    for (size_t bytes = 16; bytes < 512; bytes += 5) {
        expected.insert(Allocate(pool, bytes));
    }
    void* freed = Allocate(pool, 64);
    void* alone = Allocate(pool, 600);
    pool.Free(freed, 64);
    EXPECT_EQ(expected, NodesOf(pool));

    EXPECT_EQ(freed, Allocate(pool, 64));
    expected.insert(freed);
    EXPECT_EQ(expected, NodesOf(pool));
    pool.Free(alone, 600);
    pool.Clear();
    EXPECT_TRUE(NodesOf(pool).empty());
}

TEST(NodePool, NeighboursInMemoryAreVisitedOneAfterTheOther) {
    NodePool pool;
    for (int i = 0; i < 35; ++i) {
        Allocate(pool, 32);
    }
    const std::byte* last = nullptr;
    pool.ForEach([&](void* node) {
        EXPECT_LT(last, node);
        last = static_cast<const std::byte*>(node);
    });
}

TEST(NodePool, TenNodesOfASizeComeFromOneBlock) {
    constexpr size_t kBytes = 48;
    NodePool pool;
    std::set<uintptr_t> places;
    for (size_t i = 0; i < NodePool::kNodesInBlock; ++i) {
        places.insert(reinterpret_cast<uintptr_t>(pool.Allocate(kBytes)));
    }

    EXPECT_EQ(NodePool::kNodesInBlock, places.size());
    EXPECT_EQ((NodePool::kNodesInBlock - 1) * kBytes, *places.rbegin() - *places.begin());
}

TEST(NodePool, FreedNodeIsUsedAgain) {
    NodePool pool;
    void* first = pool.Allocate(40);
    void* second = pool.Allocate(40);
    pool.Free(first, 40);

    EXPECT_EQ(first, pool.Allocate(33)); // the same class of sizes
    EXPECT_NE(second, pool.Allocate(40));
}

TEST(NodePool, LargeNodesAreNotPooled) {
    EXPECT_TRUE(NodePool::IsPooled(512));
    EXPECT_FALSE(NodePool::IsPooled(513));
    NodePool pool;
    void* large = pool.Allocate(100000);
    pool.Clear();
    std::memset(large, 1, 100000); // not the pool's to free
    pool.Free(large, 100000);
}

TEST(NodePool, WorksOnAfterClear) {
    NodePool pool;
    pool.Allocate(16);
    pool.Clear();
    pool.Clear();
    EXPECT_NE(nullptr, pool.Allocate(16));
}

} // namespace
} // namespace zq
