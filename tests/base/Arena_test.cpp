#include "base/Arena.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace zq {
namespace {

class ArenaOfEachLife : public testing::TestWithParam<Arena::Life> {};

TEST_P(ArenaOfEachLife, PiecesDoNotOverlapAndStayUntilTheEnd) {
    Arena arena(GetParam());
    std::vector<unsigned char*> pieces;
    for (int round = 0; round < 3; ++round) {
        pieces.clear();
        for (size_t bytes = 1; bytes < 3000; bytes += 7) {
            auto* piece = arena.Allocate<unsigned char>(bytes);
            std::memset(piece, static_cast<int>(bytes & 0xFF), bytes);
            pieces.push_back(piece);
        }
        size_t bytes = 1;
        for (const unsigned char* piece : pieces) {
            for (size_t i = 0; i < bytes; ++i) {
                ASSERT_EQ(bytes & 0xFF, piece[i]) << bytes;
            }
            bytes += 7;
        }
        arena.Clear();
    }
}

TEST_P(ArenaOfEachLife, MemoryThatIsNotTakenIsHandedOutAgain) {
    Arena arena(GetParam());
    void* room = arena.Room(100);
    EXPECT_EQ(room, arena.Room(60));
    arena.Take(50);
    EXPECT_EQ(static_cast<std::byte*>(room) + 56, arena.Room(1));
}

TEST_P(ArenaOfEachLife, APieceTooLargeForAnyMemoryIsRefused) {
    Arena arena(GetParam());
    EXPECT_THROW(arena.Allocate<uint64_t>(static_cast<size_t>(-1) / 8), std::bad_alloc);
    EXPECT_NE(nullptr, arena.Allocate<uint64_t>(1));
}

INSTANTIATE_TEST_SUITE_P(All, ArenaOfEachLife, testing::Values(Arena::Life::Long, Arena::Life::Short));

} // namespace
} // namespace zq
