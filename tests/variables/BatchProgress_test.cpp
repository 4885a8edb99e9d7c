#include "variables/BatchProgress.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

namespace zq::test {
namespace {

TEST(BatchProgress, EntriesAreGoneThroughInTheirOrder) {
    for (const size_t count : {size_t{1}, size_t{2046}, size_t{2047}, size_t{2048}, size_t{9000}}) {
        BatchProgress progress(count);
        for (size_t i = 0; i < count; ++i) {
            progress.Add(static_cast<uint32_t>(i * 3));
        }
        EXPECT_EQ(count, progress.Size());
        BatchProgress::Cursor cursor(progress);
        for (size_t i = 0; i < count; ++i, ++cursor) {
            ASSERT_EQ(i * 3, (*cursor).Hash()) << count;
        }
    }
}

TEST(BatchProgress, OneWithoutEntriesHasAPlaceToStart) {
    const BatchProgress progress(0);
    const BatchProgress::Cursor cursor(progress);
    EXPECT_EQ(0U, progress.Size());
    static_cast<void>(cursor);
}

TEST(BatchProgress, AnEntryTellsItsNodeAndTheMapThatHasIt) {
    using In = EntryProgress::In;
    uint64_t node = 0;
    for (const In map : {In::Bools, In::Numbers, In::Strings}) {
        const EntryProgress added(&node, map);
        EXPECT_TRUE(added.HasAdded());
        EXPECT_EQ(map, added.Map());
        EXPECT_EQ(&node, added.Added<uint64_t>());
        EXPECT_FALSE(EntryProgress(nullptr, map).HasAdded());
    }
    EXPECT_EQ(UINT32_MAX, EntryProgress(UINT32_MAX).Hash());
}

} // namespace
} // namespace zq::test
