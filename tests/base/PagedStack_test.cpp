#include "base/PagedStack.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace zq {
namespace {

using SmallStack = PagedStack<int, 8, 4>;

std::vector<int> ItemsFrom(const SmallStack& stack, size_t first) {
    std::vector<int> items;
    stack.ForEachRun(first,
                     [&](const int* run, size_t count) { items.insert(items.end(), run, run + count); });
    return items;
}

TEST(PagedStack, AgreesWithAVectorOverRandomOperations) {
    std::mt19937_64 random(9);
    SmallStack stack;
    std::vector<int> model;
    for (int i = 0; i < 20000; ++i) {
        if (random() % 3 != 0) {
            stack.Push(i);
            model.push_back(i);
        } else {
            const size_t size = model.size() - std::min<size_t>(model.size(), random() % 12);
            stack.CutTo(size);
            model.resize(size);
        }
        ASSERT_EQ(model.size(), stack.Size());
        if (!model.empty()) {
            ASSERT_EQ(model.back(), stack.Top());
            const size_t first = random() % model.size();
            ASSERT_EQ(std::vector<int>(model.begin() + static_cast<std::ptrdiff_t>(first), model.end()),
                      ItemsFrom(stack, first));
        }
    }
}

TEST(PagedStack, ItemsStayWhereTheyAre) {
    SmallStack stack;
    std::vector<const int*> places;
    for (int i = 0; i < 100; ++i) {
        stack.Push(i);
        places.push_back(&stack.Top());
    }
    for (int i = 99; i >= 0; --i) {
        EXPECT_EQ(places[static_cast<size_t>(i)], &stack.Top());
        EXPECT_EQ(i, stack.Top());
        stack.Pop();
    }
    EXPECT_EQ(0U, stack.Size());
    EXPECT_TRUE(ItemsFrom(stack, 0).empty());
}

} // namespace
} // namespace zq
